#include "QVRSystem/platform/QVRPlatformLibrary.h"

#include <dlfcn.h>

#include <cerrno>

#include "QVRSystem/platform/posix/QVRPosixNotCancelled.h"

namespace qvr::QVR_PLATFORM {

int loadLibrary(const char* path, void*& library) noexcept {
  const NotCancelled scope;
  library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  return library != nullptr ? 0 : ELIBACC;
}

int findSymbol(void* library, const char* name, void*& address) noexcept {
  address = dlsym(library, name);
  return address != nullptr ? 0 : ENOENT;
}

}  // namespace qvr::QVR_PLATFORM
