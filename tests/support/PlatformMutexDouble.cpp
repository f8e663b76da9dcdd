#include "QVRSystem/platform/QVRPlatformMutex.h"
#include "support/PlatformForward.h"

QVR_REAL_FUNCTION(createMutex)
QVR_REAL_FUNCTION(waitMutex)
QVR_REAL_FUNCTION(releaseMutex)
QVR_REAL_FUNCTION(closeMutex)

namespace qvr::platform {

using platform_double::forward;

int createMutex(PlatformMutex& mutex) noexcept {
  return forward("createMutex", &posix::createMutex, mutex);
}
int waitMutex(PlatformMutex& mutex) noexcept {
  return forward("waitMutex", &posix::waitMutex, mutex);
}
int releaseMutex(PlatformMutex& mutex) noexcept {
  return forward("releaseMutex", &posix::releaseMutex, mutex);
}
int closeMutex(PlatformMutex& mutex) noexcept {
  return forward("closeMutex", &posix::closeMutex, mutex);
}

}  // namespace qvr::platform
