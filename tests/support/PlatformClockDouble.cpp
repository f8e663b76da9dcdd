#include "QVRSystem/platform/QVRPlatformClock.h"
#include "support/PlatformForward.h"

QVR_REAL_FUNCTION(systemTime)
QVR_REAL_FUNCTION(counter)
QVR_REAL_FUNCTION(counterFrequency)
QVR_REAL_FUNCTION(tickCount)
QVR_REAL_FUNCTION(standardOffset)

namespace qvr::platform {

using platform_double::forward;

int systemTime(std::int64_t& seconds, std::int32_t& nanoseconds) noexcept {
  return forward("systemTime", &posix::systemTime, seconds, nanoseconds);
}
int counter(std::int64_t& count) noexcept { return forward("counter", &posix::counter, count); }
int counterFrequency(std::int64_t& countsPerSecond) noexcept {
  return forward("counterFrequency", &posix::counterFrequency, countsPerSecond);
}
int tickCount(std::uint32_t& milliseconds) noexcept {
  return forward("tickCount", &posix::tickCount, milliseconds);
}
int standardOffset(std::int64_t secondsSinceEpoch, int& minutesWest) noexcept {
  return forward("standardOffset", &posix::standardOffset, secondsSinceEpoch, minutesWest);
}

}  // namespace qvr::platform
