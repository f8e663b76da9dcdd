// Holds a lock for a scope.
#pragma once

#include "QVRGuardHold.h"
#include "QVRSysIMutexLock.h"
#include "QVRSystemExport.h"
#include "QVRThreadAnnotations.h"

/// Holds a lock for a scope, or for as much of it as acquire() and release() say.
/// Never takes it or gives it back twice.
///
/// Used by one thread. Whatever the lock throws comes through, from the destructor
/// too; isAcquired() then still tells what it told before.
class QVRSYSTEM_API QVR_SCOPED_CAPABILITY QVRSysLockGuard {
 public:
  explicit QVRSysLockGuard(QVRSysIMutexLock& lock) QVR_ACQUIRE(lock) : hold_(lock, false) {
    hold_.acquire();
  }
  ~QVRSysLockGuard() noexcept(false) QVR_RELEASE() { hold_.release(); }

  QVRSysLockGuard(const QVRSysLockGuard&) = delete;
  QVRSysLockGuard& operator=(const QVRSysLockGuard&) = delete;

  /// Takes the lock unless this guard holds it.
  void acquire() QVR_ACQUIRE() { hold_.acquire(); }
  /// Gives the lock back if this guard holds it.
  void release() QVR_RELEASE() { hold_.release(); }
  /// Whether this guard holds the lock at present.
  bool isAcquired() const noexcept { return hold_.isAcquired(); }

 private:
  qvr::internal::GuardHold<QVRSysIMutexLock, &QVRSysIMutexLock::acquire> hold_;
};
