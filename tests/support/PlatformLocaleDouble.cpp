#include "QVRSystem/platform/QVRPlatformLocale.h"
#include "support/PlatformForward.h"

QVR_REAL_FUNCTION(codeset)
QVR_REAL_FUNCTION(halfOfDay)
QVR_REAL_FUNCTION(probeLocale)

namespace qvr::platform {

using platform_double::forward;

int codeset(const char*& name) noexcept { return forward("codeset", &posix::codeset, name); }
int halfOfDay(bool isAfternoon, const char*& name) noexcept {
  return forward("halfOfDay", &posix::halfOfDay, isAfternoon, name);
}
int probeLocale(const char* name) noexcept {
  return forward("probeLocale", &posix::probeLocale, name);
}

}  // namespace qvr::platform
