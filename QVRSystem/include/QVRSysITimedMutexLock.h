// The interface of locks that can be tried.
#pragma once

#include "QVRSystemExport.h"

/// A lock that can be asked for without waiting. Has no virtual destructor: it
/// is never deleted through this interface.
class QVRSYSTEM_API QVRSysITimedMutexLock {
 public:
  QVRSysITimedMutexLock() = default;
  QVRSysITimedMutexLock(const QVRSysITimedMutexLock&) {}
  QVRSysITimedMutexLock& operator=(const QVRSysITimedMutexLock&) { return *this; }

  /// Takes the lock if no other thread holds it.
  /// @return whether the caller holds it now; never waits.
  virtual bool tryAcquire() = 0;

 protected:
  ~QVRSysITimedMutexLock() = default;
};
