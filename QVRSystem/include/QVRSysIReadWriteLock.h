// The interface of locks that many can hold for reading.
#pragma once

#include "QVRSystemExport.h"
#include "QVRThreadAnnotations.h"

/// A lock that one thread holds for writing, or any number for reading. Has no
/// virtual destructor: it is never deleted through this interface.
class QVRSYSTEM_API QVR_CAPABILITY("mutex") QVRSysIReadWriteLock {
 public:
  QVRSysIReadWriteLock();
  QVRSysIReadWriteLock(const QVRSysIReadWriteLock&) {}
  QVRSysIReadWriteLock& operator=(const QVRSysIReadWriteLock&) { return *this; }

  /// Waits until the lock can be had for reading, and holds it so.
  virtual void acquireRead() QVR_ACQUIRE_SHARED() = 0;

  /// Waits until the lock can be had for writing, and holds it so.
  virtual void acquireWrite() QVR_ACQUIRE() = 0;

  /// Gives back one hold of either kind.
  virtual void release() QVR_RELEASE_GENERIC() = 0;

  /// Takes the lock for reading if that needs no waiting.
  /// @return whether the caller holds it now.
  virtual bool tryAcquireRead() QVR_TRY_ACQUIRE_SHARED(true) = 0;

  /// Takes the lock for writing if that needs no waiting.
  /// @return whether the caller holds it now.
  virtual bool tryAcquireWrite() QVR_TRY_ACQUIRE(true) = 0;

 protected:
  ~QVRSysIReadWriteLock() = default;
};
