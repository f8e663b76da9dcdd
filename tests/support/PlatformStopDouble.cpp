#include "QVRSystem/platform/QVRPlatformStop.h"
#include "support/PlatformForward.h"

QVR_REAL_FUNCTION(handleStops)
QVR_REAL_FUNCTION(allowStops)
QVR_REAL_FUNCTION(requestStop)
QVR_REAL_FUNCTION(createStopTimer)
QVR_REAL_FUNCTION(startStopTimer)
QVR_REAL_FUNCTION(closeStopTimer)
QVR_REAL_FUNCTION(placeOf)

namespace qvr::platform {

using platform_double::forward;

int handleStops(void (*handler)(const void* context)) noexcept {
  return forward("handleStops", &posix::handleStops, handler);
}
int allowStops() noexcept { return forward("allowStops", &posix::allowStops); }
int requestStop(std::uint32_t threadId) noexcept {
  return forward("requestStop", &posix::requestStop, threadId);
}

int createStopTimer(PlatformStopTimer& made, std::uint32_t threadId) noexcept {
  return forward("createStopTimer", &posix::createStopTimer, made, threadId);
}
int closeStopTimer(PlatformStopTimer timer) noexcept {
  return forward("closeStopTimer", &posix::closeStopTimer, timer);
}

// These are called by the handler of a signal, in which the plan must not be asked.
int startStopTimer(PlatformStopTimer timer, std::uint64_t nanoseconds) noexcept {
  return posix::startStopTimer(timer, nanoseconds);
}
PlatformPlace placeOf(const void* context, PlatformWhereabouts& whereabouts) noexcept {
  return posix::placeOf(context, whereabouts);
}

}  // namespace qvr::platform
