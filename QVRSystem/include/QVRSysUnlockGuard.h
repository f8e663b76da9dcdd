// Lets go of a lock for a scope.
#pragma once

#include "QVRGuardHold.h"
#include "QVRSysIMutexLock.h"
#include "QVRSystemExport.h"

/// Lets go of a lock that its thread holds, for a scope, or until acquire() takes
/// it back. Never takes it or gives it back twice.
///
/// Used by one thread. Whatever the lock throws comes through, from the destructor
/// too; isAcquired() then still tells what it told before. The lock annotations
/// pass this guard over: for the analysis its thread holds the lock all the time.
class QVRSYSTEM_API QVRSysUnlockGuard {
 public:
  explicit QVRSysUnlockGuard(QVRSysIMutexLock& lock) : hold_(lock, true) { hold_.release(); }
  ~QVRSysUnlockGuard() noexcept(false) { hold_.acquire(); }

  QVRSysUnlockGuard(const QVRSysUnlockGuard&) = delete;
  QVRSysUnlockGuard& operator=(const QVRSysUnlockGuard&) = delete;

  /// Takes the lock back unless that is done.
  void acquire() { hold_.acquire(); }
  /// Gives the lock back if it is held again.
  void release() { hold_.release(); }
  /// Whether the lock is held again.
  bool isAcquired() const noexcept { return hold_.isAcquired(); }

 private:
  qvr::internal::GuardHold<QVRSysIMutexLock, &QVRSysIMutexLock::acquire> hold_;
};
