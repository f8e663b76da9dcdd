// Holds a lock for writing for a scope.
#pragma once

#include "QVRSysIReadWriteLock.h"
#include "QVRSystemExport.h"
#include "QVRThreadAnnotations.h"

/// Holds a lock for writing for a scope, or for as much of it as acquire() and
/// release() say. Never takes it or gives it back twice.
///
/// Used by one thread. Whatever the lock throws comes through, from the destructor
/// too; isAcquired() then still tells what it told before.
class QVRSYSTEM_API QVR_SCOPED_CAPABILITY QVRSysWriteLockGuard {
 public:
  explicit QVRSysWriteLockGuard(QVRSysIReadWriteLock& lock) QVR_ACQUIRE(lock)
      : lock_(lock), acquired_(false) {
    lock_.acquireWrite();
    acquired_ = true;
  }

  // The analysis does not follow a hold that depends on a flag.
  ~QVRSysWriteLockGuard() noexcept(false) QVR_RELEASE() QVR_NO_THREAD_SAFETY_ANALYSIS { release(); }

  QVRSysWriteLockGuard(const QVRSysWriteLockGuard&) = delete;
  QVRSysWriteLockGuard& operator=(const QVRSysWriteLockGuard&) = delete;

  /// Takes the lock unless this guard holds it.
  void acquire() QVR_ACQUIRE() QVR_NO_THREAD_SAFETY_ANALYSIS {
    if (acquired_) return;
    lock_.acquireWrite();
    acquired_ = true;
  }

  /// Gives the lock back if this guard holds it.
  void release() QVR_RELEASE() QVR_NO_THREAD_SAFETY_ANALYSIS {
    if (!acquired_) return;
    lock_.release();
    acquired_ = false;
  }

  /// Whether this guard holds the lock at present.
  bool isAcquired() const noexcept { return acquired_; }

 private:
  QVRSysIReadWriteLock& lock_;
  bool acquired_;
};
