// The interface of conditions.
#pragma once

#include "QVRSystemExport.h"

class QVRSysIMutexLock;

/// What threads that hold a lock can wait for. Has no virtual destructor: it is
/// never deleted through this interface.
class QVRSYSTEM_API QVRSysICondition {
 public:
  QVRSysICondition() = default;
  QVRSysICondition(const QVRSysICondition&) {}
  QVRSysICondition& operator=(const QVRSysICondition&) { return *this; }

  /// Wakes one waiting thread.
  virtual void signal() = 0;

  /// Wakes every thread that waits now.
  virtual void signalAll() = 0;

  /// Gives one hold of the lock back, waits to be woken, and takes the lock again.
  virtual void wait() = 0;

  /// The lock that waiting gives back meanwhile.
  virtual QVRSysIMutexLock* getLock() const = 0;

 protected:
  ~QVRSysICondition() = default;
};
