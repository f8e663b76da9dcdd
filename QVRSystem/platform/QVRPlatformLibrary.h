// Shared libraries, as the system loads them.
//
// Every function returns 0 or an error number and throws nothing.
#pragma once

#include "QVRSystem/platform/QVRPlatformNamespace.h"

namespace qvr::QVR_PLATFORM {

/// Loads a library with all its symbols resolved and none of them offered to others, or
/// counts one more load of it. Runs its initialisers; a request to cancel the thread waits
/// until that is done.
/// @return ELIBACC where the system cannot.
int loadLibrary(const char* path, void*& library) noexcept;

/// Finds what a library exports, or else one that it depends on.
/// @return ENOENT where there is no such symbol or its address is null.
int findSymbol(void* library, const char* name, void*& address) noexcept;

}  // namespace qvr::QVR_PLATFORM
