#include "QVRSysTimedMutexLock.h"

QVRSysTimedMutexLock::QVRSysTimedMutexLock() noexcept = default;

QVRSysTimedMutexLock::~QVRSysTimedMutexLock() = default;
