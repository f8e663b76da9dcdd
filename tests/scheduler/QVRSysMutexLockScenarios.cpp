// The mutex, whose holder may end.
#include "QVRSysMutexLock.h"

#include <memory>

#include "scheduler/LockScenarios.h"
#include "scheduler/Scenarios.h"

namespace {

using namespace qvr::scheduler;

using Mutex = QVRSysMutexLock;

constexpr int kAcquireLine = 74;
constexpr int kReleaseLine = 136;

const Scenario exclusion("QVRSysMutexLock/exclusion", exclude<Mutex>);
const Scenario again("QVRSysMutexLock/exclusionAgain", excludeAgain<Mutex>);
const Scenario nesting("QVRSysMutexLock/nesting", nest<Mutex>);
const Scenario destruction("QVRSysMutexLock/destructionByTheLastUser", destroyByLastUser<Mutex>);

/// Counts the assertions of one line, and refuses others.
int& countAssertions(Trial& trial, int line) {
  int& count = trial.make<int>(0);
  trial.onAssertion([&count, line](const Assertion& assertion) {
    require(assertion.line == line, "another assertion");
    ++count;
  });
  return count;
}

const Scenario stranger("QVRSysMutexLock/releaseUnheld", [](Trial& trial) {
  releaseUnheld<Mutex>(trial);
  int& reports = countAssertions(trial, kReleaseLine);
  trial.atEnd([&reports] { require(reports == 1, "not one report"); });
});

// Whoever gets it is told, once, and holds it once, however often the one that ended
// held it.
template <int Holds>
void abandon(Trial& trial) {
  auto& locked = makeLocked<Mutex>(trial);
  int& reports = countAssertions(trial, kAcquireLine);
  trial.thread("ends", [&locked] {
    for (int i = 0; i < Holds; ++i) locked.lock.acquire();
    locked.region.pass();
  });
  for (const char* name : {"A", "B"}) {
    trial.thread(name, [&locked] { locked.pass(); });
  }
  trial.atEnd([&] {
    // Nobody but this one is left to find it where both others came first.
    locked.pass();
    require(reports == 1, "not one report");
  });
}

const Scenario abandoned("QVRSysMutexLock/holderEnds", abandon<1>);
const Scenario abandonedNested("QVRSysMutexLock/holderOfNestedHoldsEnds", abandon<3>);

// Closed while it is held: nobody is told, its storage is forgotten at once, and the
// system's mutex goes when the holder has ended.
const Scenario closing("QVRSysMutexLock/destroyedWhileHeld", [](Trial& trial) {
  auto& lock = trial.make<std::unique_ptr<Mutex>>(std::make_unique<Mutex>());
  auto& taken = trial.make<Gate>();
  trial.thread("holder", [&] {
    lock->acquire();
    taken.open();
    step();
  });
  trial.thread("destroyer", [&] {
    taken.pass();
    lock.reset();
  });
  trial.thread("maker", [] {
    Mutex another;
    another.acquire();
    another.release();
  });
  // A new one frees what the others left.
  trial.atEnd([] { const Mutex another; });
});

}  // namespace
