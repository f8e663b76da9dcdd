#include "QVRSystem/platform/QVRPlatformRandom.h"
#include "support/PlatformForward.h"

QVR_REAL_FUNCTION(randomBytes)
QVR_REAL_FUNCTION(mapWipedOnFork)
QVR_REAL_FUNCTION(unmapWipedOnFork)

namespace qvr::platform {

using platform_double::forward;

int randomBytes(void* bytes, std::size_t size) noexcept {
  return forward("randomBytes", &posix::randomBytes, bytes, size);
}
int mapWipedOnFork(std::size_t size, void*& memory) noexcept {
  return forward("mapWipedOnFork", &posix::mapWipedOnFork, size, memory);
}
int unmapWipedOnFork(void* memory, std::size_t size) noexcept {
  return forward("unmapWipedOnFork", &posix::unmapWipedOnFork, memory, size);
}

}  // namespace qvr::platform
