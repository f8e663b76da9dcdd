// The condition: nobody is woken without a signal, none is lost, none is taken by a
// thread that it was not meant for.
#include "QVRSysCondition.h"

#include <algorithm>
#include <cstddef>
#include <deque>
#include <set>

#include "QVRSysMutexLock.h"
#include "scheduler/QVRScheduler.h"
#include "scheduler/Scenarios.h"

namespace {

using namespace qvr::scheduler;

/// A condition, and beside it what it should do: who waits, in order, and whose wait
/// is over.
class Model {
 public:
  void wait(int thread) {
    mutex.acquire();
    waiting_.push_back(thread);
    condition.wait();
    require(woken_.erase(thread) == 1, "woken without a signal");
    ++returned_;
    mutex.release();
  }

  void signal() {
    mutex.acquire();
    if (!waiting_.empty()) wakeFirst();
    condition.signal();
    mutex.release();
  }

  void signalAll() {
    mutex.acquire();
    while (!waiting_.empty()) wakeFirst();
    condition.signalAll();
    mutex.release();
  }

  /// For a thread that runs when no other can: whoever was woken has returned. Lets
  /// the rest go.
  void finish() {
    require(woken_.empty(), "a wake-up is lost");
    while (!waiting_.empty()) {
      signalAll();
      step();
      require(woken_.empty(), "a wake-up of all is lost");
    }
  }

  int returned() const { return returned_; }

  QVRSysMutexLock mutex;
  QVRSysCondition condition{mutex};

 private:
  void wakeFirst() {
    woken_.insert(waiting_.front());
    waiting_.pop_front();
  }

  std::deque<int> waiting_;
  std::set<int> woken_;
  int returned_ = 0;
};

/// @param moreWaits those of other threads.
Model& makeModel(Trial& trial, int waiters, int moreWaits = 0) {
  auto& model = trial.make<Model>();
  trial.label(model.condition, "condition");
  constexpr const char* kNames[] = {"waiter 1", "waiter 2", "waiter 3", "waiter 4"};
  for (int i = 0; i < waiters; ++i) trial.thread(kNames[i], [&model, i] { model.wait(i); });
  trial.idleThread("last", [&model] { model.finish(); });
  trial.atEnd([&model, waits = waiters + moreWaits] {
    require(model.returned() == waits, "not all returned");
  });
  return model;
}

const Scenario signalOne("QVRSysCondition/signalGoesToTheLongestWaiting", [](Trial& trial) {
  auto& model = makeModel(trial, 2);
  trial.thread("signals", [&model] { model.signal(); });
});

const Scenario broadcast("QVRSysCondition/broadcastWakesThoseThatWait", [](Trial& trial) {
  auto& model = makeModel(trial, 2);
  trial.thread("wakes all", [&model] { model.signalAll(); });
});

const Scenario both("QVRSysCondition/signalsAndBroadcasts",
                    [](Trial& trial) {
                      auto& model = makeModel(trial, 3);
                      trial.thread("signals", [&model] { model.signal(); });
                      trial.thread("wakes all", [&model] { model.signalAll(); });
                    },
                    {.preemptions = 0});

const Scenario repeated("QVRSysCondition/waitsAgain",
                        [](Trial& trial) {
                          auto& model = makeModel(trial, 1, 2);
                          trial.thread("waits again", [&model] {
                            model.wait(7);
                            model.wait(7);
                          });
                          trial.thread("signals", [&model] {
                            model.signal();
                            model.signal();
                          });
                        },
                        {.preemptions = 1});

// The usual loop, with the signal given without the mutex.
const Scenario unheld("QVRSysCondition/signalWithoutTheMutex", [](Trial& trial) {
  auto& mutex = trial.make<QVRSysMutexLock>();
  auto& condition = trial.make<QVRSysCondition>(mutex);
  auto& items = trial.make<int>(0);
  for (const char* name : {"taker", "another"}) {
    trial.thread(name, [&] {
      mutex.acquire();
      while (items == 0) condition.wait();
      --items;
      mutex.release();
    });
  }
  trial.thread("giver", [&] {
    for (int i = 0; i < 2; ++i) {
      mutex.acquire();
      ++items;
      mutex.release();
      condition.signal();
    }
  });
});

// A wait gives back one hold: nested ones keep the others out meanwhile.
template <int Depth>
void waitAtDepth(Trial& trial) {
  auto& mutex = trial.make<QVRSysMutexLock>();
  auto& condition = trial.make<QVRSysCondition>(mutex);
  auto& region = trial.make<Region>();
  auto& signalled = trial.make<bool>(false);
  auto& passed = trial.make<bool>(false);
  trial.thread("waiter", [&] {
    for (int i = 0; i < Depth; ++i) mutex.acquire();
    condition.wait();
    require(signalled, "woken without a signal");
    for (int i = 1; i < Depth; ++i) mutex.release();
    region.pass();
    mutex.release();
  });
  trial.thread("other", [&] {
    mutex.acquire();
    region.pass();
    passed = true;
    mutex.release();
  });
  trial.idleThread("signals", [&] {
    require(passed || Depth > 1, "the mutex is held during the wait");
    signalled = true;
    condition.signal();
  });
}

const Scenario depth1("QVRSysCondition/waitAtDepth1", waitAtDepth<1>);
const Scenario depth2("QVRSysCondition/waitAtDepth2", waitAtDepth<2>);
const Scenario depth3("QVRSysCondition/waitAtDepth3", waitAtDepth<3>);

// What nested holds keep is kept from whoever comes while the thread sleeps.
const Scenario keptOut("QVRSysCondition/nestedHoldsAreKeptDuringTheWait", [](Trial& trial) {
  auto& mutex = trial.make<QVRSysMutexLock>();
  auto& condition = trial.make<QVRSysCondition>(mutex);
  auto& held = trial.make<Region>();
  auto& waits = trial.make<Gate>();
  trial.thread("waiter", [&] {
    mutex.acquire();
    mutex.acquire();
    held.enter();
    waits.open();
    condition.wait();
    held.leave();
    mutex.release();
    mutex.release();
  });
  trial.thread("other", [&] {
    waits.pass();
    mutex.acquire();
    held.pass();
    mutex.release();
  });
  trial.idleThread("signals", [&] { condition.signal(); });
});

const Scenario forgotten("QVRSysCondition/signalsWithoutWaitersAreForgotten", [](Trial& trial) {
  auto& mutex = trial.make<QVRSysMutexLock>();
  auto& condition = trial.make<QVRSysCondition>(mutex);
  auto& signalled = trial.make<bool>(false);
  trial.thread("waiter", [&] {
    mutex.acquire();
    condition.signal();
    condition.signalAll();
    condition.wait();
    require(signalled, "an old signal is remembered");
    mutex.release();
  });
  trial.idleThread("signals", [&] {
    signalled = true;
    condition.signal();
  });
});

// The waiter takes over a mutex whose holder ended, and nobody is told.
const Scenario abandoned("QVRSysCondition/holderEndsDuringTheWait", [](Trial& trial) {
  auto& mutex = trial.make<QVRSysMutexLock>();
  auto& condition = trial.make<QVRSysCondition>(mutex);
  auto& waits = trial.make<bool>(false);
  auto& returned = trial.make<bool>(false);
  trial.thread("waiter", [&] {
    mutex.acquire();
    waits = true;
    condition.wait();
    returned = true;
    mutex.release();
  });
  trial.idleThread("ends", [&] {
    mutex.acquire();
    condition.signal();
    require(waits && !returned, "the mutex was not taken again");
  });
  trial.atEnd([&] { require(returned, "the waiter did not return"); });
});

/// A place for one item that a producer and consumers share.
struct Place {
  QVRSysMutexLock mutex;
  QVRSysCondition filled{mutex};
  QVRSysCondition emptied{mutex};
  int item = 0;
  int taken = 0;

  void put(int value) {
    mutex.acquire();
    while (item != 0) emptied.wait();
    item = value;
    filled.signal();
    mutex.release();
  }

  void take() {
    mutex.acquire();
    while (item == 0) filled.wait();
    taken += item;
    item = 0;
    emptied.signal();
    mutex.release();
  }
};

const Scenario place("QVRSysCondition/producerAndConsumers",
                     [](Trial& trial) {
                       auto& shared = trial.make<Place>();
                       trial.thread("producer", [&shared] {
                         shared.put(1);
                         shared.put(2);
                       });
                       for (const char* name : {"consumer", "another"}) {
                         trial.thread(name, [&shared] { shared.take(); });
                       }
                       trial.atEnd([&shared] { require(shared.taken == 3, "an item is lost"); });
                     },
                     {.preemptions = 1});

}  // namespace
