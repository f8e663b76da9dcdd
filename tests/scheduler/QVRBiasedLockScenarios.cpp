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

  /// Only an owner says that it is inside.
  bool isValid() const {
    return storage_.inside == 0 || storage_.owner != BiasedLockStorage::kNobody;
  }

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

/// The owner has the bias when the others come, and takes the lock once more inside.
const Scenario inside("QVRBiasedLock/revocationWhileTheOwnerIsInside", [](Trial& trial) {
  auto& locked = makeLocked<Biased>(trial);
  auto& owned = trial.make<Gate>();
  trial.invariant("only an owner is inside", [&locked] { return locked.lock.isValid(); });
  trial.thread("owner", [&] {
    locked.pass();
    locked.lock.acquire();
    locked.region.enter();
    owned.open();
    locked.lock.acquire();
    step();
    locked.lock.release();
    locked.region.leave();
    locked.lock.release();
    passBriefly(locked);
  });
  for (const char* name : {"A", "B"}) {
    trial.thread(name, [&] {
      owned.pass();
      locked.pass();
    });
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
