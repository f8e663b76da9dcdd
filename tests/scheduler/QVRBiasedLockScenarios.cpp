// The lock that is biased towards one thread: how the others end that.
#include "QVRSystem/internal/QVRBiasedLock.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <vector>

#include "scheduler/LockScenarios.h"
#include "scheduler/Scenarios.h"
#include "scheduler/SchedulingPoint.h"

namespace {

using namespace qvr::scheduler;
using qvr::internal::BiasedLock;
using qvr::internal::BiasedLockStorage;
using qvr::internal::BiasedThread;
using qvr::internal::biasedThreads;

/// Keeps for each thread what its releases are given.
class Biased {
 public:
  Biased() { std::fill(std::begin(biasedThreads), std::end(biasedThreads), BiasedThread{}); }

  void acquire() { holds_[threadNumber()].push_back(BiasedLock(storage_).acquire()); }
  void release() {
    std::vector<BiasedLock::Hold>& holds = holds_[threadNumber()];
    BiasedLock(storage_).release(holds.back());
    holds.pop_back();
  }

  BiasedLockStorage& storage() { return storage_; }

  /// No bias begins before the owner of the last one has left.
  bool isValid() const { return storage_.owner == nullptr || storage_.leaving == nullptr; }

 private:
  BiasedLockStorage storage_;
  std::array<std::vector<BiasedLock::Hold>, 9> holds_;
};

const Scenario exclusion("QVRBiasedLock/exclusion", exclude<Biased>);
const Scenario again("QVRBiasedLock/exclusionAgain", excludeAgain<Biased>);

/// A hold in parts, as operations of a few instructions take it.
void passBriefly(Locked<Biased>& locked) {
  BiasedLock lock(locked.lock.storage());
  if (!lock.canEnter()) return locked.pass();
  const BiasedLock::Entry entry = lock.enter();
  if (!lock.hasEntered(entry)) {
    lock.leave(entry.outer);
    return locked.pass();
  }
  locked.region.pass();
  if (!lock.tryLeave(entry)) lock.answer(entry.outer);
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

/// The owner has the bias when the others come, and is inside.
const Scenario inside("QVRBiasedLock/revocationWhileTheOwnerIsInside", [](Trial& trial) {
  auto& locked = makeLocked<Biased>(trial);
  auto& owned = trial.make<Gate>();
  trial.invariant("a bias begins when nobody has another", [&] { return locked.lock.isValid(); });
  trial.thread("owner", [&] {
    locked.pass();
    locked.lock.acquire();
    locked.region.enter();
    owned.open();
    step();
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

/// Each is the owner for some turns, as the other gives its bias up or has it revoked.
const Scenario handedOver("QVRBiasedLock/biasGoesToAndFro", [](Trial& trial) {
  auto& locked = makeLocked<Biased>(trial);
  trial.invariant("a bias begins when nobody has another", [&] { return locked.lock.isValid(); });
  for (const char* name : {"A", "B"}) {
    trial.thread(name, [&locked] {
      for (int i = 0; i < 5; ++i) passBriefly(locked);
    });
  }
});

/// Each of two locks wants something of the owner of both.
const Scenario two("QVRBiasedLock/ownerOfTwo", [](Trial& trial) {
  auto& one = makeLocked<Biased>(trial);
  auto& other = makeLocked<Biased>(trial);
  trial.thread("owner", [&] {
    for (int i = 0; i < 3; ++i) {
      passBriefly(one);
      passBriefly(other);
    }
  });
  trial.thread("A", [&one] { passBriefly(one); });
  trial.thread("B", [&other] { passBriefly(other); });
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
