// Recursive locks within the process: alone, nested, tried and contended.
#include "QVRSysFastMutexLock.h"

#include <mutex>

#include "LockBenchmark.h"
#include "PthreadMutex.h"
#include "QVRSysCriticalSection.h"
#include "QVRSysTimedMutexLock.h"

namespace {

struct TimedMutex : Named<QVRSysTimedMutexLock> {
  bool try_lock() { return QVRSysTimedMutexLock::tryAcquire(); }
};
using RecursivePthreadMutex = PthreadMutex<PTHREAD_MUTEX_RECURSIVE, PTHREAD_MUTEX_STALLED>;

[[maybe_unused]] const bool isRegistered =
    timeRecursive<Named<QVRSysFastMutexLock>>("QVRSysFastMutexLock") &&
    timeRecursive<Named<QVRSysCriticalSection>>("QVRSysCriticalSection") &&
    timeTry<TimedMutex>("QVRSysTimedMutexLock") &&
    timeRecursive<std::recursive_mutex>("std::recursive_mutex") &&
    timeTry<std::recursive_mutex>("std::recursive_mutex") &&
    timeRecursive<RecursivePthreadMutex>("pthread") && timeTry<RecursivePthreadMutex>("pthread");

}  // namespace
