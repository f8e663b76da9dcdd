// Scenarios that hold for every lock with acquire() and release().
#pragma once

#include "scheduler/QVRScheduler.h"

namespace qvr::scheduler {

/// A lock and the code that it keeps to one thread at a time.
template <class Lock>
struct Locked {
  void pass() {
    lock.acquire();
    region.pass();
    lock.release();
  }

  Lock lock;
  Region region;
};

template <class Lock>
Locked<Lock>& makeLocked(Trial& trial) {
  auto& locked = trial.make<Locked<Lock>>();
  trial.label(locked.lock, "lock");
  return locked;
}

/// Each thread takes the lock and gives it back.
template <class Lock>
void exclude(Trial& trial) {
  auto& locked = makeLocked<Lock>(trial);
  for (const char* name : {"A", "B", "C"}) {
    trial.thread(name, [&locked] { locked.pass(); });
  }
}

/// Each does so again: whoever takes a lock may have slept for it before, and leaves
/// others asleep.
template <class Lock>
void excludeAgain(Trial& trial) {
  auto& locked = makeLocked<Lock>(trial);
  for (const char* name : {"A", "B"}) {
    trial.thread(name, [&locked] {
      locked.pass();
      locked.pass();
    });
  }
}

/// Nested holds keep the others out until the last of them is given back.
template <class Lock>
void nest(Trial& trial) {
  auto& locked = makeLocked<Lock>(trial);
  for (const char* name : {"A", "B"}) {
    trial.thread(name, [&locked] {
      locked.lock.acquire();
      locked.region.enter();
      locked.lock.acquire();
      locked.lock.release();
      step();
      locked.region.leave();
      locked.lock.release();
    });
  }
  trial.thread("C", [&locked] { locked.pass(); });
}

/// A release by a thread that holds nothing changes nothing.
template <class Lock>
void releaseUnheld(Trial& trial) {
  auto& locked = makeLocked<Lock>(trial);
  for (const char* name : {"A", "B"}) {
    trial.thread(name, [&locked] { locked.pass(); });
  }
  trial.thread("stranger", [&locked] { locked.lock.release(); });
}

}  // namespace qvr::scheduler
