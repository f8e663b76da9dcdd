#include "QVRSystem/platform/QVRPlatformLocale.h"

#include <langinfo.h>
#include <locale.h>

#include <cerrno>

namespace qvr::QVR_PLATFORM {

int codeset(const char*& name) noexcept {
  name = nl_langinfo(CODESET);
  return 0;
}

int halfOfDay(bool isAfternoon, const char*& name) noexcept {
  name = nl_langinfo(isAfternoon ? PM_STR : AM_STR);
  return 0;
}

int probeLocale(const char* name) noexcept {
  const locale_t locale = newlocale(LC_ALL_MASK, name, nullptr);
  if (locale == nullptr) return errno;
  freelocale(locale);
  return 0;
}

}  // namespace qvr::QVR_PLATFORM
