// The queue between threads: each item is got once, and nobody sleeps while there is something
// for him.
#include "QVRSysPCQueue.h"

#include <cstddef>
#include <set>

#include "QVRSysLockGuard.h"
#include "scheduler/QVRScheduler.h"
#include "scheduler/Scenarios.h"

namespace {

using namespace qvr::scheduler;

struct Queue : QVRSysPCQueue<int> {
  using QVRSysPCQueue<int>::QVRSysPCQueue;
  ~Queue() noexcept override = default;  // as an object of a trial
  using QVRSysMonitor::monitor;

  void awaitEmpty() {
    const QVRSysLockGuard guard(monitor());
    while (count() != 0) roomAvailable_.wait();
  }
};

/// What came of the items.
struct Outcome {
  std::set<int> put;
  std::set<int> got;

  void notePut(int item, bool done) {
    if (done) put.insert(item);
  }
  void noteGot(int item) { require(got.insert(item).second, "an item came twice"); }
};

void putOne(Queue& queue, Outcome& outcome, int item) {
  outcome.notePut(item, queue.put(item));
  require(queue.getCapacity() == 0 || queue.count() <= queue.getCapacity(), "no room for it");
}

void getOne(Queue& queue, Outcome& outcome) {
  int item = 0;
  if (queue.get(item)) outcome.noteGot(item);
}

struct Shared {
  Queue& queue;
  Outcome& outcome;
};

Shared share(Trial& trial, std::size_t capacity) {
  const Shared shared{trial.make<Queue>(capacity), trial.make<Outcome>()};
  trial.label(shared.queue, "queue");
  trial.atEnd([shared] {
    require(shared.outcome.got.size() + shared.queue.count() == shared.outcome.put.size(),
            "an item is lost");
  });
  return shared;
}

const Scenario consumers("QVRSysPCQueue/eachItemGoesToOneConsumer", [](Trial& trial) {
  const Shared shared = share(trial, 0);
  for (const char* name : {"consumer", "another"}) {
    trial.thread(name, [shared] { getOne(shared.queue, shared.outcome); });
  }
  trial.thread("producer", [shared] {
    putOne(shared.queue, shared.outcome, 1);
    putOne(shared.queue, shared.outcome, 2);
  });
  trial.atEnd([shared] { require(shared.outcome.got.size() == 2, "an item was not got"); });
});

const Scenario producers("QVRSysPCQueue/producersWaitForRoom",
                         [](Trial& trial) {
                           const Shared shared = share(trial, 1);
                           trial.thread("producer", [shared] {
                             putOne(shared.queue, shared.outcome, 1);
                             putOne(shared.queue, shared.outcome, 2);
                           });
                           trial.thread("another",
                                        [shared] { putOne(shared.queue, shared.outcome, 3); });
                           trial.thread("consumer", [shared] {
                             for (int i = 0; i < 3; ++i) getOne(shared.queue, shared.outcome);
                           });
                         },
                         {.preemptions = 1});

const Scenario order("QVRSysPCQueue/itemsOfAProducerComeInOrder", [](Trial& trial) {
  const Shared shared = share(trial, 1);
  trial.thread("producer", [shared] {
    for (int item = 1; item <= 3; ++item) putOne(shared.queue, shared.outcome, item);
  });
  trial.thread("consumer", [shared] {
    for (int expected = 1; expected <= 3; ++expected) {
      int item = 0;
      require(shared.queue.get(item) && item == expected, "out of order");
      shared.outcome.noteGot(item);
    }
  });
});

const Scenario stopped("QVRSysPCQueue/aStopEndsEveryWait",
                       [](Trial& trial) {
                         const Shared shared = share(trial, 1);
                         trial.thread("consumer", [shared] {
                           getOne(shared.queue, shared.outcome);
                           getOne(shared.queue, shared.outcome);
                         });
                         trial.thread("producer", [shared] {
                           putOne(shared.queue, shared.outcome, 1);
                           putOne(shared.queue, shared.outcome, 2);
                         });
                         trial.thread("stops", [shared] { shared.queue.stop(); });
                       },
                       {.preemptions = 1});

// Whoever waits when the stop comes does not notice the restart.
const Scenario restarted("QVRSysPCQueue/aRestartLeavesNobodyFromBeforeTheStop", [](Trial& trial) {
  const Shared shared = share(trial, 0);
  auto& returned = trial.make<int>(0);
  for (const char* name : {"consumer", "another"}) {
    trial.thread(name, [shared, &returned] {
      getOne(shared.queue, shared.outcome);
      ++returned;
    });
  }
  trial.idleThread("stops and restarts", [shared] {
    const QVRSysLockGuard guard(shared.queue.monitor());
    shared.queue.stop();
    shared.queue.restart();
  });
  trial.atEnd([&returned] { require(returned == 2, "somebody waits"); });
});

// What a derived class waits for.
const Scenario emptied("QVRSysPCQueue/eachGetTellsWhoeverWaitsForRoom", [](Trial& trial) {
  const Shared shared = share(trial, 0);
  trial.thread("awaits", [shared] {
    putOne(shared.queue, shared.outcome, 1);
    shared.queue.awaitEmpty();
  });
  trial.thread("consumer", [shared] { getOne(shared.queue, shared.outcome); });
  trial.thread("looks", [shared] {
    const QVRSysLockGuard guard(shared.queue.monitor());
    const std::size_t count = shared.queue.count();
    require(shared.queue.count() == count, "changes while the lock is held");
  });
});

const Scenario cleared("QVRSysPCQueue/clearMakesRoom", [](Trial& trial) {
  auto& queue = trial.make<Queue>(std::size_t{1});
  auto& hasPut = trial.make<bool>(false);
  queue.put(1);
  trial.thread("producer", [&] { hasPut = queue.put(2); });
  trial.thread("clears", [&] { queue.clear(); });
  trial.atEnd([&] { require(hasPut, "the producer did not return"); });
});

}  // namespace
