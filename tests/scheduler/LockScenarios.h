// Scenarios that hold for every lock with acquire() and release().
#pragma once

#include <algorithm>
#include <iterator>
#include <new>

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

/// A lock that may be destroyed, in storage that shows whether it is touched afterwards.
template <class Lock>
class Destructible {
 public:
  Destructible() { new (storage_) Lock; }

  Lock& lock() { return *std::launder(reinterpret_cast<Lock*>(storage_)); }

  void destroy() {
    lock().Lock::~Lock();  // qualified: that of some locks is not virtual
    std::fill(std::begin(storage_), std::end(storage_), kGone);
  }

  bool isUntouched() const {
    return std::all_of(std::begin(storage_), std::end(storage_),
                       [](unsigned char byte) { return byte == kGone; });
  }

 private:
  static constexpr unsigned char kGone = 0xA5;

  alignas(Lock) unsigned char storage_[sizeof(Lock)];
};

template <class Lock>
Destructible<Lock>& makeDestructible(Trial& trial) {
  auto& shared = trial.make<Destructible<Lock>>();
  trial.atEnd([&shared] { require(shared.isUntouched(), "written to after its destruction"); });
  return shared;
}

/// Whoever takes the lock last destroys it once its own release() has returned.
template <class Lock>
void destroyByLastUser(Trial& trial) {
  auto& shared = makeDestructible<Lock>(trial);
  auto& users = trial.make<int>(3);
  for (const char* name : {"A", "B", "C"}) {
    trial.thread(name, [&] {
      shared.lock().acquire();
      const bool last = --users == 0;
      shared.lock().release();
      if (last) shared.destroy();
    });
  }
}

}  // namespace qvr::scheduler
