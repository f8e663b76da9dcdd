// The lock that is biased towards one thread: how the others end that.
#include "QVRSystem/internal/QVRBiasedLock.h"

#include <array>
#include <vector>

#include "scheduler/LockScenarios.h"
#include "scheduler/Scenarios.h"
#include "scheduler/SchedulingPoint.h"

namespace {

using namespace qvr::scheduler;
using qvr::internal::BiasedLock;
using qvr::internal::BiasedLockStorage;

/// Keeps for each thread what its releases are given.
class Biased {
 public:
  void acquire() { holds_[threadNumber()].push_back(BiasedLock(storage_).acquire()); }
  void release() {
    std::vector<BiasedLock::Hold>& holds = holds_[threadNumber()];
    BiasedLock(storage_).release(holds.back());
    holds.pop_back();
  }

  BiasedLockStorage& storage() { return storage_; }

 private:
  BiasedLockStorage storage_;
  std::array<std::vector<BiasedLock::Hold>, 9> holds_;
};

const Scenario exclusion("QVRBiasedLock/exclusion", exclude<Biased>);
const Scenario again("QVRBiasedLock/exclusionAgain", excludeAgain<Biased>);
const Scenario nesting("QVRBiasedLock/nesting", nest<Biased>);

/// A hold in parts, as operations of a few instructions take it.
void passBriefly(Locked<Biased>& locked) {
  BiasedLock lock(locked.lock.storage());
  if (!lock.canEnter()) return locked.pass();
  const std::uint32_t outer = lock.enter();
  if (!lock.hasEntered()) {
    lock.leave(outer);
    return locked.pass();
  }
  locked.region.pass();
  if (!lock.tryLeave(outer)) lock.leave(outer);
}

const Scenario brief("QVRBiasedLock/briefHolds", [](Trial& trial) {
  auto& locked = makeLocked<Biased>(trial);
  for (const char* name : {"A", "B"}) {
    trial.thread(name, [&locked] {
      for (int i = 0; i < 3; ++i) passBriefly(locked);
    });
  }
});

const Scenario manyRevoke("QVRBiasedLock/manyRevoke", [](Trial& trial) {
  auto& locked = makeLocked<Biased>(trial);
  trial.thread("owner", [&locked] {
    for (int i = 0; i < 3; ++i) passBriefly(locked);
  });
  for (const char* name : {"A", "B"}) {
    trial.thread(name, [&locked] { locked.pass(); });
  }
});

/// A thread that has the shared lock keeps the owner out, wherever it is, as a fork does.
const Scenario fork("QVRBiasedLock/keepOthersOut", [](Trial& trial) {
  auto& locked = makeLocked<Biased>(trial);
  trial.thread("owner", [&locked] {
    for (int i = 0; i < 3; ++i) passBriefly(locked);
  });
  trial.thread("forks", [&locked] {
    BiasedLock lock(locked.lock.storage());
    lock.shared().acquire();
    lock.keepOthersOut();
    locked.region.pass();
    lock.shared().release();
  });
});

}  // namespace
