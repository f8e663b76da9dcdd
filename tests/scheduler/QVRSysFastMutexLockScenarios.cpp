// The fast mutex, and with it the recursive lock that others share.
#include "QVRSysFastMutexLock.h"

#include <memory>
#include <new>

#include "QVRSysTimedMutexLock.h"
#include "scheduler/LockScenarios.h"
#include "scheduler/Scenarios.h"

namespace {

using namespace qvr::scheduler;

using FastMutex = QVRSysFastMutexLock;

const Scenario exclusion("QVRSysFastMutexLock/exclusion", exclude<FastMutex>);
const Scenario again("QVRSysFastMutexLock/exclusionAgain", excludeAgain<FastMutex>);
const Scenario nesting("QVRSysFastMutexLock/nesting", nest<FastMutex>);
const Scenario stranger("QVRSysFastMutexLock/releaseUnheld", releaseUnheld<FastMutex>);

/// Zeros that a lock is made of by nobody.
struct Zeros {
  FastMutex& lock() { return *std::launder(reinterpret_cast<FastMutex*>(bytes)); }

  alignas(FastMutex) unsigned char bytes[sizeof(FastMutex)] = {};
  Region region;
};

const Scenario firstUse("QVRSysFastMutexLock/firstUseOfZeros", [](Trial& trial) {
  auto& zeros = trial.make<Zeros>();
  trial.label(zeros.bytes, "lock");
  for (const char* name : {"A", "B", "C"}) {
    trial.thread(name, [&zeros] {
      zeros.lock().acquire();
      zeros.region.pass();
      zeros.lock().release();
    });
  }
});

const Scenario attempts("QVRSysTimedMutexLock/attempts", [](Trial& trial) {
  auto& locked = makeLocked<QVRSysTimedMutexLock>(trial);
  for (const char* name : {"A", "B"}) {
    trial.thread(name, [&locked] { locked.pass(); });
  }
  trial.thread("tries", [&locked] {
    for (int i = 0; i < 2; ++i) {
      if (!locked.lock.tryAcquire()) continue;
      locked.region.pass();
      locked.lock.release();
    }
  });
});

const Scenario guards("QVRSysFastMutexLock/guards", [](Trial& trial) {
  auto& locked = makeLocked<FastMutex>(trial);
  for (const char* name : {"A", "B"}) {
    trial.thread(name, [&locked] {
      const FastMutex::LockGuard guard(locked.lock);
      locked.region.pass();
      {
        const FastMutex::UnlockGuard pause(locked.lock);
        step();
      }
      locked.region.pass();
    });
  }
});

const Scenario destruction("QVRSysFastMutexLock/destructionByTheLastUser",
                           destroyByLastUser<FastMutex>);

const Scenario crowd("QVRSysFastMutexLock/crowd",
                     [](Trial& trial) {
                       auto& locked = makeLocked<FastMutex>(trial);
                       for (const char* name : {"A", "B", "C", "D", "E"}) {
                         trial.thread(name, [&locked] {
                           locked.pass();
                           locked.pass();
                         });
                       }
                     },
                     {.preemptions = 0});

}  // namespace
