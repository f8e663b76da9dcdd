// The interface of the locks that guards hold.
#pragma once

#include "QVRSystemExport.h"
#include "QVRThreadAnnotations.h"

/// A lock that one thread holds at a time. Has no virtual destructor: it is never
/// deleted through this interface.
class QVRSYSTEM_API QVR_CAPABILITY("mutex") QVRSysIMutexLock {
 public:
  QVRSysIMutexLock() = default;
  QVRSysIMutexLock(const QVRSysIMutexLock&) {}
  QVRSysIMutexLock& operator=(const QVRSysIMutexLock&) { return *this; }

  /// Waits until the lock can be had, and holds it.
  virtual void acquire() QVR_ACQUIRE() = 0;

  /// Gives one hold back.
  virtual void release() QVR_RELEASE() = 0;

 protected:
  ~QVRSysIMutexLock() = default;
};
