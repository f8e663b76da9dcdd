#include "QVRLocalTime.h"

std::tm QVRLocalTime(std::int64_t secondsSinceEpoch) noexcept {
  const std::time_t seconds = secondsSinceEpoch;
  std::tm result{};
  // localtime_r() alone looks at TZ only once.
  tzset();
  if (localtime_r(&seconds, &result) == nullptr) return {};
  return result;
}
