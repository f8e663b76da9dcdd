#include "QVRSystem/platform/QVRPlatformLibrary.h"
#include "support/PlatformForward.h"

QVR_REAL_FUNCTION(loadLibrary)
QVR_REAL_FUNCTION(findSymbol)

namespace qvr::platform {

using platform_double::forward;

int loadLibrary(const char* path, void*& library) noexcept {
  return forward("loadLibrary", &posix::loadLibrary, path, library);
}
int findSymbol(void* library, const char* name, void*& address) noexcept {
  return forward("findSymbol", &posix::findSymbol, library, name, address);
}

}  // namespace qvr::platform
