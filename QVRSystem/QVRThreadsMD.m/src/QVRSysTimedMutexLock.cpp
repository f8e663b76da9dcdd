#include "QVRSysTimedMutexLock.h"

QVRSysTimedMutexLock::QVRSysTimedMutexLock() noexcept = default;

QVRSysTimedMutexLock::~QVRSysTimedMutexLock() = default;

bool QVRSysTimedMutexLock::tryAcquire() { return tryAcquireNative(); }
