// The mutex that outlives its holders beside the C library's that does.
#include "QVRSysMutexLock.h"

#include "LockBenchmark.h"
#include "PthreadMutex.h"

namespace {

using RobustPthreadMutex = PthreadMutex<PTHREAD_MUTEX_RECURSIVE, PTHREAD_MUTEX_ROBUST>;

[[maybe_unused]] const bool isRegistered =
    timeRecursive<Named<QVRSysMutexLock>>("QVRSysMutexLock") &&
    timeRecursive<RobustPthreadMutex>("pthread robust");

}  // namespace
