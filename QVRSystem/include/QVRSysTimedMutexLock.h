// A fast mutex that can be tried.
#pragma once

#include "QVRSysFastMutexLock.h"
#include "QVRSysITimedMutexLock.h"
#include "QVRSystemExport.h"

/// A fast mutex that can also be asked for without waiting. Throws nothing.
///
/// @par Thread safety
/// As QVRSysFastMutexLock; any thread may call tryAcquire().
class QVRSYSTEM_API QVRSysTimedMutexLock : public QVRSysFastMutexLock,
                                           public QVRSysITimedMutexLock {
 public:
  QVRSysTimedMutexLock() noexcept;
  ~QVRSysTimedMutexLock() override;

  /// Takes the lock unless another thread holds it; a thread that holds it
  /// already holds it once more. Unlike acquire(), never initialises.
  bool tryAcquire() override QVR_TRY_ACQUIRE(true) { return tryAcquireNative(); }
};
