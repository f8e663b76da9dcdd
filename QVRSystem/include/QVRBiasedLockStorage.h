// What a lock that is biased towards one thread consists of.
//
// Public only because objects that contain one are of a size that callers need to know:
// nothing here is for them.
#pragma once

#include <cstdint>

#include "QVRRecursiveLock.h"
#include "QVRThreadAnnotations.h"

namespace qvr::internal {

/// Belongs to `qvr::internal::BiasedLock` inside the library, which alone reads and
/// writes it.
struct QVR_CAPABILITY("mutex") BiasedLockStorage {
  static constexpr std::uint64_t kNobody = UINT64_MAX;

  std::uint64_t owner = kNobody;  // serial of the thread towards which it is biased
  std::uint32_t use = 0;          // by whom: BiasedLock::Use
  std::uint32_t inside = 0;       // holds that the owner has by its bias
  RecursiveLockStorage shared{};  // for everyone else
};

}  // namespace qvr::internal
