// Mutexes, as the system offers them.
//
// Every function returns 0 or the system's error number and throws nothing.
#pragma once

#include <cstdint>

#include "QVRSystem/platform/QVRPlatformNamespace.h"

namespace qvr {

/// Storage of a mutex of the system, which must not move.
struct PlatformMutex {
  std::uint64_t words[6];
};

}  // namespace qvr

namespace qvr::QVR_PLATFORM {

/// Makes a free mutex, not recursive, that knows when its holder ends.
int createMutex(PlatformMutex& mutex) noexcept;

/// Waits without limit until the caller, who must not hold it, holds the mutex.
/// EOWNERDEAD says that it does, and that the last holder ended with it.
int waitMutex(PlatformMutex& mutex) noexcept;

/// Gives a mutex back that the caller holds.
int releaseMutex(PlatformMutex& mutex) noexcept;

/// Ends a mutex that nobody waits for: one that is free or whose holder ended.
/// EBUSY says that another thread holds it, and that nothing changed.
int closeMutex(PlatformMutex& mutex) noexcept;

}  // namespace qvr::QVR_PLATFORM
