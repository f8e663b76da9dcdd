// Lets go of a lock for a scope.
#pragma once

#include "QVRSysIMutexLock.h"
#include "QVRSystemExport.h"
#include "QVRThreadAnnotations.h"

/// Lets go of a lock that its thread holds, for a scope, or until acquire() takes
/// it back. Never takes it or gives it back twice.
///
/// Used by one thread. Whatever the lock throws comes through, from the destructor
/// too; isAcquired() then still tells what it told before. The lock annotations
/// pass this guard over: for the analysis its thread holds the lock all the time.
class QVRSYSTEM_API QVRSysUnlockGuard {
 public:
  explicit QVRSysUnlockGuard(QVRSysIMutexLock& lock) : lock_(lock), acquired_(true) { release(); }
  ~QVRSysUnlockGuard() noexcept(false) { acquire(); }

  QVRSysUnlockGuard(const QVRSysUnlockGuard&) = delete;
  QVRSysUnlockGuard& operator=(const QVRSysUnlockGuard&) = delete;

  /// Takes the lock back unless that is done.
  void acquire() QVR_NO_THREAD_SAFETY_ANALYSIS {
    if (acquired_) return;
    lock_.acquire();
    acquired_ = true;
  }

  /// Gives the lock back if it is held again.
  void release() QVR_NO_THREAD_SAFETY_ANALYSIS {
    if (!acquired_) return;
    lock_.release();
    acquired_ = false;
  }

  /// Whether the lock is held again.
  bool isAcquired() const noexcept { return acquired_; }

 private:
  QVRSysIMutexLock& lock_;
  bool acquired_;
};
