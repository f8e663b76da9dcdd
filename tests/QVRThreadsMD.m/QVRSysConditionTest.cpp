// The condition: whom a signal wakes, what a wait does to the mutex.
#include "QVRSysCondition.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <memory>
#include <random>
#include <string_view>
#include <thread>
#include <vector>

#include "QVRSysMutexLock.h"
#include "support/AssertRecorder.h"
#include "support/CommandedThread.h"
#include "support/EndingThreads.h"
#include "support/MutualExclusion.h"
#include "support/SignalStorm.h"
#include "support/TestSeed.h"

namespace {

const AssertRecord kNotHeld{"Assertion", "result != 0",
                            "QVRSystem/QVRThreadsMD.m/src/QVRSysMutexLock", 136};

/// A condition with threads that wait for it. Unless a test says so, nothing is
/// reported.
class QVRSysConditionTest : public testing::Test {
 protected:
  ~QVRSysConditionTest() override { EXPECT_EQ(asserts_.all(), expectedReports_); }

  /// Has a new thread wait once, and sees it fall asleep.
  CommandedThread& beginWait() {
    waiters_.push_back(std::make_unique<CommandedThread>());
    CommandedThread& waiter = *waiters_.back();
    waiter.start([this] {
      mutex_.acquire();
      condition_.wait();
      mutex_.release();
    });
    EXPECT_TRUE(waiter.sleeps());
    return waiter;
  }

  /// Has the thread wait once with so many holds of the mutex, which it keeps.
  void beginWaitOf(CommandedThread& waiter, int holds) {
    waiter.start([this, holds] {
      for (int i = 0; i < holds; ++i) mutex_.acquire();
      condition_.wait();
    });
    EXPECT_TRUE(waiter.sleeps());
  }

  /// Has the thread take the mutex and give it back.
  void beginVisit(CommandedThread& visitor) {
    visitor.start([this] {
      mutex_.acquire();
      mutex_.release();
    });
  }

  void visit() {
    CommandedThread visitor;
    beginVisit(visitor);
  }

  /// Leaves the mutex free.
  void expectHeldOnceBy(CommandedThread& holder) {
    CommandedThread visitor;
    beginVisit(visitor);
    EXPECT_TRUE(visitor.sleeps());
    holder.run([this] { mutex_.release(); });
    visitor.finish();
  }

  AssertRecorder asserts_;
  std::vector<AssertRecord> expectedReports_;
  QVRSysMutexLock mutex_;
  QVRSysCondition condition_{mutex_};

 private:
  std::vector<std::unique_ptr<CommandedThread>> waiters_;
};

TEST_F(QVRSysConditionTest, GetLockIsTheMutexOfTheConstructor) {
  const QVRSysCondition& condition = condition_;
  EXPECT_EQ(condition.getLock(), &mutex_);
}

TEST_F(QVRSysConditionTest, SignalsWithoutWaitersAreForgotten) {
  condition_.signal();
  condition_.signalAll();
  mutex_.acquire();
  condition_.signal();
  condition_.signalAll();
  mutex_.release();

  CommandedThread& waiter = beginWait();
  EXPECT_TRUE(waiter.sleeps());

  condition_.signal();
  waiter.finish();
}

TEST_F(QVRSysConditionTest, ASignalThatWasUsedUpIsForgotten) {
  CommandedThread& first = beginWait();
  condition_.signal();
  first.finish();

  CommandedThread& second = beginWait();
  condition_.signalAll();
  second.finish();

  CommandedThread& third = beginWait();
  condition_.signal();
  third.finish();
}

TEST_F(QVRSysConditionTest, ASignalWakesTheOneThatWaitedLongest) {
  for (const bool holdsMutex : {false, true}) {
    CommandedThread* const waiters[] = {&beginWait(), &beginWait(), &beginWait()};

    for (std::size_t woken = 0; woken < 3; ++woken) {
      if (holdsMutex) mutex_.acquire();
      condition_.signal();
      if (holdsMutex) mutex_.release();
      waiters[woken]->finish();
      for (std::size_t i = woken + 1; i < 3; ++i) EXPECT_TRUE(waiters[i]->sleeps()) << i;
    }
  }
}

TEST_F(QVRSysConditionTest, AsManySignalsWakeAsManyThreads) {
  CommandedThread* const waiters[] = {&beginWait(), &beginWait(), &beginWait()};

  // Given at once: the first woken has not run when the second signal comes.
  mutex_.acquire();
  condition_.signal();
  condition_.signal();
  mutex_.release();

  waiters[0]->finish();
  waiters[1]->finish();
  EXPECT_TRUE(waiters[2]->sleeps());
  condition_.signal();
  waiters[2]->finish();
}

TEST_F(QVRSysConditionTest, SignalAllWakesAllAndWaitsForNoneToRun) {
  CommandedThread* const waiters[] = {&beginWait(), &beginWait(), &beginWait()};

  mutex_.acquire();
  condition_.signalAll();  // returns though none of them can get the mutex
  for (CommandedThread* const waiter : waiters) EXPECT_TRUE(waiter->sleeps()) << "for the mutex";
  mutex_.release();

  for (CommandedThread* const waiter : waiters) waiter->finish();
}

TEST_F(QVRSysConditionTest, SignalAllWithoutTheMutexWakesAllToo) {
  CommandedThread* const waiters[] = {&beginWait(), &beginWait()};

  condition_.signalAll();

  for (CommandedThread* const waiter : waiters) waiter->finish();
}

TEST_F(QVRSysConditionTest, SignalAllWakesNoLaterWaiter) {
  CommandedThread* const waiters[] = {&beginWait(), &beginWait(), &beginWait()};
  CommandedThread late;
  mutex_.acquire();

  // The thread that signals waits next, before any of the woken has run.
  late.start([&] {
    mutex_.acquire();
    condition_.signalAll();
    condition_.wait();
    mutex_.release();
  });
  mutex_.release();

  for (CommandedThread* const waiter : waiters) waiter->finish();
  EXPECT_TRUE(late.sleeps());
  condition_.signal();
  late.finish();
}

TEST_F(QVRSysConditionTest, ASignalIsNotTakenByALaterWaiter) {
  CommandedThread& first = beginWait();
  CommandedThread late;
  late.start([&] {
    mutex_.acquire();
    condition_.signal();
    condition_.wait();
    mutex_.release();
  });

  first.finish();
  EXPECT_TRUE(late.sleeps());
  condition_.signal();
  late.finish();
}

TEST_F(QVRSysConditionTest, SignalsOfTheSystemWakeNobody) {
  CommandedThread& waiter = beginWait();

  expectToSleepThroughSignals(waiter);

  condition_.signal();
  waiter.finish();
}

TEST_F(QVRSysConditionTest, TheMutexIsFreeDuringAWaitAndHeldAfterIt) {
  CommandedThread waiter;
  beginWaitOf(waiter, 1);
  visit();

  condition_.signal();
  waiter.finish();

  expectHeldOnceBy(waiter);
}

TEST_F(QVRSysConditionTest, AWaitGivesBackOneHoldOfSeveral) {
  for (const int depth : {2, 3}) {
    SCOPED_TRACE(depth);
    CommandedThread waiter;
    CommandedThread visitor;
    beginWaitOf(waiter, depth);
    beginVisit(visitor);
    EXPECT_TRUE(visitor.sleeps()) << "the waiter keeps the mutex";

    condition_.signal();  // without the mutex, which nobody else can have
    waiter.finish();
    for (int i = 0; i < depth; ++i) {
      EXPECT_TRUE(visitor.sleeps()) << i;
      waiter.run([&] { mutex_.release(); });
    }
    visitor.finish();
    waiter.run([&] { mutex_.release(); });
    expectedReports_.push_back(kNotHeld);  // as deep as before, not deeper
  }
}

TEST_F(QVRSysConditionTest, AWaiterTakesOverTheMutexOfAThreadThatEndedWithoutAReport) {
  for (const ThreadEnding& ending : threadEndings()) {
    // Behind the back of the C library nobody gives its deferred wake-up.
    if (std::string_view(ending.name) == "exit") continue;
    SCOPED_TRACE(ending.name);
    CommandedThread waiter;
    beginWaitOf(waiter, 1);

    ending.run([&] {
      mutex_.acquire();
      mutex_.acquire();
      condition_.signal();
    });
    waiter.finish();

    expectHeldOnceBy(waiter);
  }
}

TEST_F(QVRSysConditionTest, AWaiterWithoutTheMutexHasItAfterwards) {
  CommandedThread waiter;
  beginWaitOf(waiter, 0);
  visit();

  condition_.signal();
  waiter.finish();

  expectHeldOnceBy(waiter);
}

TEST_F(QVRSysConditionTest, TwoConditionsOfOneMutexAreApart) {
  QVRSysCondition other(mutex_);
  CommandedThread& waiter = beginWait();

  other.signal();
  other.signalAll();
  EXPECT_TRUE(waiter.sleeps());

  condition_.signal();
  waiter.finish();
}

TEST_F(QVRSysConditionTest, IsUsableThroughItsInterface) {
  QVRSysICondition& interface = condition_;
  CommandedThread waiter;
  waiter.start([&] {
    interface.getLock()->acquire();
    interface.wait();
    interface.getLock()->release();
  });
  EXPECT_TRUE(waiter.sleeps());

  interface.signal();
  waiter.finish();
  interface.signalAll();
}

TEST_F(QVRSysConditionTest, ItCanGoOnceItsLastWaiterIsBack) {
  CommandedThread waiter;
  for (int i = 0; i < 200; ++i) {
    QVRSysCondition* signalled = nullptr;
    waiter.start([&] {
      QVRSysCondition condition(mutex_);
      mutex_.acquire();
      signalled = &condition;
      condition.wait();
      mutex_.release();
    });
    EXPECT_TRUE(waiter.sleeps());

    mutex_.acquire();
    signalled->signal();  // with the mutex: the waiter cannot be back before
    mutex_.release();
    waiter.finish();
  }
}

TEST_F(QVRSysConditionTest, BehavesAsAQueueUnderLongRandomSequences) {
  constexpr std::size_t kThreads = 6;
  std::mt19937 random(testSeed());
  std::vector<CommandedThread> threads(kThreads);
  std::vector<std::size_t> waiting;  // the longest waiting first
  const auto wakeFirst = [&] {
    threads[waiting.front()].finish();
    waiting.erase(waiting.begin());
  };

  for (int step = 0; step < 3000 && !HasFailure(); ++step) {
    SCOPED_TRACE(step);
    const auto thread = static_cast<std::size_t>(random() % kThreads);
    switch (random() % 4) {
      case 0:
        condition_.signal();
        if (!waiting.empty()) wakeFirst();
        break;
      case 1:
        if (random() % 4 != 0) break;
        condition_.signalAll();
        while (!waiting.empty()) wakeFirst();
        break;
      default:
        if (threads[thread].isBusy()) break;
        threads[thread].start([this] {
          mutex_.acquire();
          condition_.wait();
          mutex_.release();
        });
        EXPECT_TRUE(threads[thread].sleeps());
        waiting.push_back(thread);
    }
    for (const std::size_t waiter : waiting) EXPECT_TRUE(threads[waiter].sleeps()) << waiter;
  }

  condition_.signalAll();
}

/// Producers and consumers that meet at two conditions of one mutex, in a store for
/// one item, so that each waits again and again.
class Store {
 public:
  void put(long item) {
    mutex_.acquire();
    while (isFull_) hasRoom_.wait();
    item_ = item;
    isFull_ = true;
    hasItem_.signal();
    mutex_.release();
  }

  long take() {
    mutex_.acquire();
    while (!isFull_) hasItem_.wait();
    const long item = item_;
    isFull_ = false;
    hasRoom_.signal();
    mutex_.release();
    return item;
  }

 private:
  QVRSysMutexLock mutex_;
  QVRSysCondition hasItem_{mutex_};
  QVRSysCondition hasRoom_{mutex_};
  bool isFull_ = false;
  long item_ = 0;
};

TEST_F(QVRSysConditionTest, ProducersAndConsumersLoseNoSignal) {
  for (const int threads : {2, 8, 64}) {
    SCOPED_TRACE(threads);
    const long items = 8'000 / threads;
    Store store;
    std::atomic<long> sum = 0;
    runTogether(threads, [&](int self) {
      for (long item = 1; item <= items; ++item) {
        if (self % 2 == 0) {
          store.put(item);
        } else {
          sum += store.take();
        }
      }
    });

    EXPECT_EQ(sum, threads / 2 * items * (items + 1) / 2);
  }
}

TEST_F(QVRSysConditionTest, ABroadcastPerRoundTakesEverybodyAlong) {
  for (const int threads : {2, 8, 64}) {
    SCOPED_TRACE(threads);
    const int rounds = 4'000 / threads;
    int arrived = 0;
    int round = 0;
    runTogether(threads, [&](int) {
      for (int i = 0; i < rounds; ++i) {
        mutex_.acquire();
        const int mine = round;
        if (++arrived == threads) {
          arrived = 0;
          ++round;
          condition_.signalAll();
        }
        while (round == mine) condition_.wait();
        mutex_.release();
      }
    });

    EXPECT_EQ(round, rounds);
  }
}

TEST_F(QVRSysConditionTest, EachSignalWakesExactlyOneThread) {
  constexpr int kWaiters = 16;
  constexpr int kWaits = 200;
  int waiting = 0;
  int returned = 0;
  runTogether(kWaiters + 1, [&](int self) {
    if (self != 0) {
      for (int i = 0; i < kWaits; ++i) {
        mutex_.acquire();
        ++waiting;
        condition_.wait();  // without a loop: every return is a signal's
        ++returned;
        mutex_.release();
      }
      return;
    }
    for (int given = 0; given < kWaiters * kWaits;) {
      mutex_.acquire();
      EXPECT_LE(returned, given);
      const bool goesToSomebody = waiting > given;
      if (goesToSomebody) ++given;
      condition_.signal();
      mutex_.release();
      if (!goesToSomebody) std::this_thread::yield();
    }
  });

  EXPECT_EQ(returned, kWaiters * kWaits);
}

}  // namespace
