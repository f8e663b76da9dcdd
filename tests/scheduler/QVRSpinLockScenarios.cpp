// The spin lock and the atomic lock beneath it.
#include "QVRSpinLock.h"

#include "QVRAtomicCounter.h"
#include "QVRAtomicLock.h"
#include "scheduler/LockScenarios.h"
#include "scheduler/Scenarios.h"

namespace {

using namespace qvr::scheduler;

const Scenario exclusion("QVRSpinLock/exclusion", exclude<QVRSpinLock>);
const Scenario again("QVRSpinLock/exclusionAgain", excludeAgain<QVRSpinLock>);
const Scenario destruction("QVRSpinLock/destructionByTheLastUser", destroyByLastUser<QVRSpinLock>);

/// A spin lock that reads so often before it yields.
template <std::uint64_t Limit>
class SpinLock : public QVRSpinLock {
 public:
  SpinLock() { SpinLimit = Limit; }
  ~SpinLock() { SpinLimit = GetSpinLimit(); }
};

const Scenario noReads("QVRSpinLock/noReadsBeforeYielding", exclude<SpinLock<0>>);
const Scenario threeReads("QVRSpinLock/threeReadsBeforeYielding", exclude<SpinLock<3>>);

const Scenario readers("QVRSpinLock/readersExcludeEachOther", [](Trial& trial) {
  auto& locked = makeLocked<QVRSpinLock>(trial);
  for (const char* name : {"reader", "another"}) {
    trial.thread(name, [&locked] {
      locked.lock.acquireRead();
      locked.region.pass();
      locked.lock.release();
    });
  }
  trial.thread("writer", [&locked] {
    locked.lock.acquireWrite();
    locked.region.pass();
    locked.lock.release();
  });
});

const Scenario otherThread("QVRSpinLock/releaseByAnotherThread", [](Trial& trial) {
  auto& locked = makeLocked<QVRSpinLock>(trial);
  auto& taken = trial.make<Gate>();
  trial.thread("A", [&] {
    locked.lock.acquire();
    locked.region.enter();
    taken.open();
  });
  trial.thread("B", [&] {
    taken.pass();
    locked.region.leave();
    locked.lock.release();
  });
  // May come first.
  trial.thread("C", [&] { locked.pass(); });
});

const Scenario attempts("QVRAtomicLock/oneOfAllGetsIt", [](Trial& trial) {
  auto& lock = trial.make<QVRAtomicLock>();
  auto& holders = trial.make<int>(0);
  for (const char* name : {"A", "B", "C"}) {
    trial.thread(name, [&] { holders += lock.acquire() ? 1 : 0; });
  }
  trial.atEnd([&] { require(holders == 1 && lock.isLocked(), "not one holder"); });
});

const Scenario counting("QVRAtomicCounter/everyStepCounts", [](Trial& trial) {
  auto& counter = trial.make<QVRAtomicCounter>();
  auto& zeros = trial.make<int>(0);
  for (const char* name : {"A", "B", "C"}) {
    trial.thread(name, [&] {
      counter.increment();
      zeros += counter.decrement() == 0 ? 1 : 0;
    });
  }
  trial.atEnd([&] {
    require(counter.get() == 0, "a step is lost");
    require(zeros >= 1 && zeros <= 3, "not seen at zero");
  });
});

}  // namespace
