#include "QVRSystem/platform/QVRPlatformClock.h"

#include <cerrno>
#include <ctime>

namespace qvr::QVR_PLATFORM {

namespace {

constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;
constexpr std::int64_t kNanosecondsPerMillisecond = 1'000'000;

int readMonotonic(std::int64_t& nanoseconds) noexcept {
  timespec time;
  if (clock_gettime(CLOCK_MONOTONIC, &time) != 0) return errno;
  nanoseconds = time.tv_sec * kNanosecondsPerSecond + time.tv_nsec;
  return 0;
}

}  // namespace

int systemTime(std::int64_t& seconds, std::int32_t& nanoseconds) noexcept {
  timespec time;
  if (clock_gettime(CLOCK_REALTIME, &time) != 0) return errno;
  seconds = time.tv_sec;
  nanoseconds = static_cast<std::int32_t>(time.tv_nsec);
  return 0;
}

int counter(std::int64_t& count) noexcept { return readMonotonic(count); }

int counterFrequency(std::int64_t& countsPerSecond) noexcept {
  countsPerSecond = kNanosecondsPerSecond;
  return 0;
}

int tickCount(std::uint32_t& milliseconds) noexcept {
  std::int64_t nanoseconds = 0;
  const int error = readMonotonic(nanoseconds);
  milliseconds = static_cast<std::uint32_t>(nanoseconds / kNanosecondsPerMillisecond);
  return error;
}

int standardOffset(std::int64_t secondsSinceEpoch, int& minutesWest) noexcept {
  constexpr std::time_t kStep = 30 * 86400;  // no standard time is shorter
  constexpr int kSteps = 24;
  tzset();
  // While daylight saving is on, the standard time is the one before it.
  for (int step = 0; step <= kSteps; ++step) {
    const std::time_t instant = secondsSinceEpoch - step * kStep;
    std::tm local{};
    if (localtime_r(&instant, &local) == nullptr) return errno;
    if (local.tm_isdst <= 0) {
      minutesWest = static_cast<int>(-local.tm_gmtoff / 60);
      return 0;
    }
  }
  // A zone that never leaves daylight saving still names its standard time.
  minutesWest = static_cast<int>(timezone / 60);
  return 0;
}

}  // namespace qvr::QVR_PLATFORM
