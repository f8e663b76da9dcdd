// Holds a lock for reading for a scope.
#pragma once

#include "QVRGuardHold.h"
#include "QVRSysIReadWriteLock.h"
#include "QVRSystemExport.h"
#include "QVRThreadAnnotations.h"

/// Holds a lock for reading for a scope, or for as much of it as acquire() and
/// release() say. Never takes it or gives it back twice.
///
/// Used by one thread. Whatever the lock throws comes through, from the destructor
/// too; isAcquired() then still tells what it told before.
class QVRSYSTEM_API QVR_SCOPED_CAPABILITY QVRSysReadLockGuard {
 public:
  explicit QVRSysReadLockGuard(QVRSysIReadWriteLock& lock) QVR_ACQUIRE_SHARED(lock)
      : hold_(lock, false) {
    hold_.acquire();
  }
  ~QVRSysReadLockGuard() noexcept(false) QVR_RELEASE() { hold_.release(); }

  QVRSysReadLockGuard(const QVRSysReadLockGuard&) = delete;
  QVRSysReadLockGuard& operator=(const QVRSysReadLockGuard&) = delete;

  /// Takes the lock unless this guard holds it.
  void acquire() QVR_ACQUIRE_SHARED() { hold_.acquire(); }
  /// Gives the lock back if this guard holds it.
  void release() QVR_RELEASE() { hold_.release(); }
  /// Whether this guard holds the lock at present.
  bool isAcquired() const noexcept { return hold_.isAcquired(); }

 private:
  qvr::internal::GuardHold<QVRSysIReadWriteLock, &QVRSysIReadWriteLock::acquireRead> hold_;
};
