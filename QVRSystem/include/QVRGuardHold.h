// What the guards of all locks share.
#pragma once

#include "QVRThreadAnnotations.h"

namespace qvr::internal {

/// A hold of a lock that comes and goes: never taken or given back twice. Whether it
/// is there changes once the lock has been taken or given back, so that what the lock
/// throws leaves it as it was.
///
/// The lock annotations stand at the guards; the analysis follows no hold that depends
/// on a flag.
template <class Lock, void (Lock::*take)()>
class GuardHold {
 public:
  GuardHold(Lock& lock, bool acquired) noexcept : lock_(lock), acquired_(acquired) {}

  GuardHold(const GuardHold&) = delete;
  GuardHold& operator=(const GuardHold&) = delete;

  void acquire() QVR_NO_THREAD_SAFETY_ANALYSIS {
    if (acquired_) return;
    (lock_.*take)();
    acquired_ = true;
  }

  void release() QVR_NO_THREAD_SAFETY_ANALYSIS {
    if (!acquired_) return;
    lock_.release();
    acquired_ = false;
  }

  bool isAcquired() const noexcept { return acquired_; }

 private:
  Lock& lock_;
  bool acquired_;
};

}  // namespace qvr::internal
