// The thread pool: what runs when, what a stop leaves, and what runnables may ask of the pool
// that runs them.
#include "QVRSysThreadPool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <latch>
#include <memory>
#include <mutex>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "PoolRunnables.h"
#include "QVRFunctor0.h"
#include "QVRSysLockGuard.h"
#include "QVRSysRunnableFunctorBody.h"
#include "support/AssertRecorder.h"
#include "support/CommandedThread.h"
#include "support/MutualExclusion.h"
#include "support/TestSeed.h"
#include "support/ThreadSanitizer.h"

namespace {

const AssertRecord kNotLarger{"Assertion", "newSize > size_",
                              "QVRSystem/QVRThreadsMD.m/src/QVRSysThreadPool", 104};

static_assert(!std::has_virtual_destructor_v<QVRSysThreadPool>);

/// One that may be deleted, as none is derived from it.
class OwnedPool final : public QVRSysThreadPool {
 public:
  using QVRSysThreadPool::QVRSysThreadPool;
};

/// Nothing is reported unless a test says so.
class QVRSysThreadPoolTest : public testing::Test {
 protected:
  ~QVRSysThreadPoolTest() override { EXPECT_EQ(asserts_.all(), expectedReports_); }

  /// Has the pool run a task and waits until it has run.
  static void runOne(QVRSysThreadPool& pool) {
    std::latch ran(1);
    EXPECT_TRUE(pool.enqueue(task([&] { ran.count_down(); })));
    ran.wait();
  }

  /// How many tasks the pool runs at once, where that is no less than `expected`; where it is
  /// less this never returns.
  static void expectWorkers(QVRSysThreadPool& pool, int expected) {
    std::vector<HeldTask> held(static_cast<std::size_t>(expected));
    std::latch ran(1);
    for (HeldTask& each : held) pool.enqueue(each.runnable());
    for (HeldTask& each : held) each.awaitStart();
    EXPECT_TRUE(pool.enqueue(task([&] { ran.count_down(); })));
    EXPECT_EQ(pool.numberTasksPending(), 1u) << "there are more workers";
    for (HeldTask& each : held) each.letEnd();
    ran.wait();
  }

  AssertRecorder asserts_;
  std::vector<AssertRecord> expectedReports_;
};

TEST_F(QVRSysThreadPoolTest, ItsSizeIsThatOfTheConstructorAndNeverNegative) {
  const struct {
    int given;
    std::size_t size;
  } cases[] = {{0, 0}, {1, 1}, {7, 7}, {-1, 0}, {-2147483647 - 1, 0}};
  for (const auto& c : cases) {
    const QVRSysThreadPool pool(c.given);
    EXPECT_EQ(pool.size(), c.size);
    EXPECT_EQ(pool.numberTasksPending(), 0u);
  }
}

TEST_F(QVRSysThreadPoolTest, OneWorkerRunsRunnablesInTheOrderInWhichTheyCame) {
  constexpr int kTasks = 1000;
  std::vector<int> order;
  std::latch ran(kTasks);
  QVRSysThreadPool pool(1);
  pool.start();

  for (int i = 0; i < kTasks; ++i) {
    EXPECT_TRUE(pool.enqueue(task([&, i] {
      order.push_back(i);
      ran.count_down();
    })));
  }
  ran.wait();

  EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
  EXPECT_EQ(order.size(), static_cast<std::size_t>(kTasks));
}

TEST_F(QVRSysThreadPoolTest, SeveralWorkersRunAtOnce) {
  QVRSysThreadPool pool(3);
  pool.start();
  expectWorkers(pool, 3);
}

/// One whose lock tests can hold.
class TestedPool final : public QVRSysThreadPool {
 public:
  using QVRSysMonitor::monitor;
  using QVRSysThreadPool::QVRSysThreadPool;
};

TEST_F(QVRSysThreadPoolTest, WhoHoldsItsLockMayUseItAndKeepsOthersOut) {
  TestedPool pool(0);
  CommandedThread other;
  {
    const QVRSysLockGuard guard(pool.monitor());
    other.start([&] { EXPECT_TRUE(pool.enqueue(task([] {}))); });
    EXPECT_TRUE(other.sleeps());
    EXPECT_TRUE(pool.enqueue(task([] {})));
    EXPECT_EQ(pool.numberTasksPending(), 1u);
  }
  other.finish();
  EXPECT_EQ(pool.numberTasksPending(), 2u);
}

TEST_F(QVRSysThreadPoolTest, AnEmptyRunnableIsRefused) {
  QVRSysThreadPool pool(0);

  EXPECT_FALSE(pool.enqueue(nullptr));

  EXPECT_EQ(pool.numberTasksPending(), 0u);
}

TEST_F(QVRSysThreadPoolTest, WhatIsQueuedBeforeTheStartRunsAfterIt) {
  std::latch ran(1);
  QVRSysThreadPool pool(1);
  EXPECT_TRUE(pool.enqueue(task([&] { ran.count_down(); })));
  EXPECT_EQ(pool.numberTasksPending(), 1u);
  EXPECT_FALSE(ran.try_wait());

  pool.start();

  ran.wait();
  EXPECT_EQ(pool.numberTasksPending(), 0u);
}

TEST_F(QVRSysThreadPoolTest, WithoutWorkersItQueuesUntilItIsEnlarged) {
  std::latch ran(1);
  QVRSysThreadPool pool(0);
  EXPECT_TRUE(pool.enqueue(task([&] { ran.count_down(); })));
  pool.start();
  EXPECT_EQ(pool.numberTasksPending(), 1u);

  pool.enlarge(1);

  ran.wait();
  EXPECT_EQ(pool.size(), 1u);
}

TEST_F(QVRSysThreadPoolTest, AStopWaitsForTheRunnableInHandAndKeepsTheRest) {
  HeldTask held;
  std::latch ran(2);
  QVRSysThreadPool pool(1);
  pool.start();
  pool.enqueue(held.runnable());
  for (int i = 0; i < 2; ++i) pool.enqueue(task([&] { ran.count_down(); }));
  held.awaitStart();
  CommandedThread stopper;
  stopper.start([&] { pool.stop(); });
  EXPECT_TRUE(stopper.sleeps());

  EXPECT_FALSE(pool.enqueue(task([] { FAIL(); })));
  EXPECT_EQ(pool.size(), 1u);
  EXPECT_EQ(pool.numberTasksPending(), 2u);
  held.letEnd();
  stopper.finish();

  EXPECT_FALSE(pool.enqueue(task([] { FAIL(); })));
  EXPECT_EQ(pool.numberTasksPending(), 2u);
  EXPECT_FALSE(ran.try_wait());
  pool.start();
  ran.wait();
  EXPECT_EQ(pool.numberTasksPending(), 0u);
}

TEST_F(QVRSysThreadPoolTest, CanBeStoppedAndStartedAgainAndAgain) {
  QVRSysThreadPool pool(2);
  pool.stop();
  EXPECT_FALSE(pool.enqueue(task([] {})));
  for (int round = 0; round < 20; ++round) {
    pool.start();
    expectWorkers(pool, 2);
    pool.stop();
    pool.stop();
  }
}

TEST_F(QVRSysThreadPoolTest, AStartOfARunningPoolChangesNothing) {
  QVRSysThreadPool pool(2);
  HeldTask held;
  pool.start();
  pool.enqueue(held.runnable());
  held.awaitStart();

  pool.start();  // does not wait for the runnable

  held.letEnd();
  expectWorkers(pool, 2);
}

TEST_F(QVRSysThreadPoolTest, ItsDestructorWaitsForWhatRunsAndDropsTheRest) {
  const auto dropped = std::make_shared<int>(0);
  HeldTask held;
  auto pool = std::make_unique<OwnedPool>(1);
  pool->start();
  pool->enqueue(held.runnable());
  held.awaitStart();
  for (int i = 0; i < 5; ++i) pool->enqueue(task([dropped] { FAIL(); }));
  EXPECT_EQ(dropped.use_count(), 6);
  CommandedThread destroyer;
  destroyer.start([&] { pool.reset(); });
  EXPECT_TRUE(destroyer.sleeps());

  held.letEnd();
  destroyer.finish();

  EXPECT_EQ(dropped.use_count(), 1);
}

TEST_F(QVRSysThreadPoolTest, OneThatWasNeverStartedDropsWhatIsQueued) {
  const auto dropped = std::make_shared<int>(0);
  {
    QVRSysThreadPool pool(2);
    pool.enqueue(task([dropped] { FAIL(); }));
  }
  EXPECT_EQ(dropped.use_count(), 1);
}

TEST_F(QVRSysThreadPoolTest, DropsARunnableAsSoonAsItHasRun) {
  std::latch dropped(1);
  const std::shared_ptr<void> lastHolder(nullptr, [&](void*) { dropped.count_down(); });
  QVRSysThreadPool pool(1);
  pool.start();
  auto holder = lastHolder;
  pool.enqueue(task([held = std::move(holder)] {}));
  const_cast<std::shared_ptr<void>&>(lastHolder).reset();

  dropped.wait();
}

// ---- Enlarging ----

TEST_F(QVRSysThreadPoolTest, AnEnlargedRunningPoolHasItsNewWorkersAtOnce) {
  QVRSysThreadPool pool(1);
  HeldTask held;
  pool.start();
  pool.enqueue(held.runnable());
  held.awaitStart();

  pool.enlarge(3);

  EXPECT_EQ(pool.size(), 3u);
  expectWorkers(pool, 2);
  held.letEnd();
  expectWorkers(pool, 3);
}

TEST_F(QVRSysThreadPoolTest, OfAnEnlargedPoolThatWasNeverStartedOnlyTheNewWorkersRun) {
  QVRSysThreadPool pool(2);

  pool.enlarge(3);
  expectWorkers(pool, 1);

  pool.start();
  expectWorkers(pool, 3);
}

TEST_F(QVRSysThreadPoolTest, AnEnlargedStoppedPoolRunsNothingBeforeItsStart) {
  QVRSysThreadPool pool(1);
  pool.start();
  pool.stop();

  pool.enlarge(2);
  EXPECT_FALSE(pool.enqueue(task([] {})));

  pool.start();
  expectWorkers(pool, 2);
}

TEST_F(QVRSysThreadPoolTest, EnlargingToThePresentSizeIsReportedAndChangesNothing) {
  QVRSysThreadPool pool(2);
  pool.start();

  pool.enlarge(2);

  expectedReports_.push_back(kNotLarger);
  expectWorkers(pool, 2);
}

TEST_F(QVRSysThreadPoolTest, EnlargingToFewerWaitsForTheSurplusWhileThePoolGoesOn) {
  QVRSysThreadPool pool(3);
  HeldTask held[3];
  pool.start();
  for (HeldTask& each : held) pool.enqueue(each.runnable());
  for (HeldTask& each : held) each.awaitStart();
  CommandedThread reducer;
  reducer.start([&] { pool.enlarge(1); });
  EXPECT_TRUE(reducer.sleeps());

  EXPECT_EQ(pool.size(), 1u);
  std::latch ran(1);
  EXPECT_TRUE(pool.enqueue(task([&] { ran.count_down(); })));
  for (HeldTask& each : held) each.letEnd();
  reducer.finish();

  ran.wait();
  expectedReports_.push_back(kNotLarger);
  expectWorkers(pool, 1);
  pool.enlarge(2);
  expectWorkers(pool, 2);
}

TEST_F(QVRSysThreadPoolTest, EnlargingToNoneKeepsWhatIsQueued) {
  QVRSysThreadPool pool(2);
  pool.start();

  pool.enlarge(0);

  expectedReports_.push_back(kNotLarger);
  EXPECT_TRUE(pool.enqueue(task([] {})));
  EXPECT_EQ(pool.numberTasksPending(), 1u);
  pool.start();
  EXPECT_EQ(pool.numberTasksPending(), 1u);
  pool.enlarge(1);
  runOne(pool);
}

// ---- Runnables that fail ----

void throwSomething() { throw std::runtime_error("dropped"); }

TEST_F(QVRSysThreadPoolTest, AFunctorThatThrowsHarmsNobody) {
  QVRSysThreadPool pool(1);
  pool.start();

  pool.enqueue(new QVRSysRunnableFunctorBody(QVRMakeFunctor0(&throwSomething)));
  pool.enqueue(new QVRSysRunnableFunctorBody);

  runOne(pool);
}

TEST_F(QVRSysThreadPoolTest, AnotherRunnableThatThrowsEndsItsWorkerUntilTheNextStart) {
  QVRSysThreadPool pool(2);
  pool.start();
  pool.enqueue(task([] { throwSomething(); }));
  runOne(pool);
  pool.stop();

  pool.start();
  expectWorkers(pool, 2);
}

// ---- Runnables that use the pool that runs them ----

TEST_F(QVRSysThreadPoolTest, ARunnableMayEnqueueMore) {
  constexpr int kTasks = 200;
  std::latch ran(kTasks);
  QVRSysThreadPool pool(2);
  std::function<void(int)> countDown = [&](int left) {
    ran.count_down();
    if (left == 1) return;
    EXPECT_TRUE(pool.enqueue(task([&, left] { countDown(left - 1); })));
  };
  pool.start();

  pool.enqueue(task([&] { countDown(kTasks); }));

  ran.wait();
}

/// Runs `action` on a worker of the pool while another thread is inside `pool.stop()`.
void runDuringStop(QVRSysThreadPool& pool, std::function<void()> action) {
  HeldTask held;
  CommandedThread stopper;
  pool.enqueue(task([&, run = held.runnable()] {
    run->run();
    action();
  }));
  held.awaitStart();
  stopper.start([&] { pool.stop(); });
  EXPECT_TRUE(stopper.sleeps());
  held.letEnd();
  stopper.finish();
}

TEST_F(QVRSysThreadPoolTest, ARunnableGetsItsAnswersWhileAnotherThreadStopsThePool) {
  QVRSysThreadPool pool(2);
  pool.start();
  pool.enqueue(task([] {}));
  int answers = 0;

  runDuringStop(pool, [&] {
    EXPECT_FALSE(pool.enqueue(task([] { FAIL(); })));
    EXPECT_EQ(pool.size(), 2u);
    EXPECT_EQ(pool.numberTasksPending(), 0u);
    pool.stop();
    pool.start();
    pool.enlarge(5);
    EXPECT_EQ(pool.size(), 2u) << "nothing is done during a stop";
    EXPECT_FALSE(pool.enqueue(task([] { FAIL(); })));
    ++answers;
  });

  EXPECT_EQ(answers, 1);
  pool.start();
  expectWorkers(pool, 2);
}

TEST_F(QVRSysThreadPoolTest, AWorkerThatStopsThePoolWaitsForTheOthersOnly) {
  QVRSysThreadPool pool(3);
  HeldTask held;
  std::atomic<bool> hasStopped = false;
  pool.start();
  pool.enqueue(held.runnable());
  held.awaitStart();
  std::latch stops(1);
  pool.enqueue(task([&] {
    stops.count_down();
    pool.stop();
    EXPECT_FALSE(pool.enqueue(task([] { FAIL(); })));
    hasStopped = true;
  }));
  stops.wait();
  while (pool.enqueue(task([] {}))) std::this_thread::yield();
  EXPECT_FALSE(hasStopped) << "it waits for the other runnable";

  held.letEnd();
  pool.stop();  // waits for the worker's own stop, and for the worker

  EXPECT_TRUE(hasStopped);
  pool.start();
  expectWorkers(pool, 3);
}

TEST_F(QVRSysThreadPoolTest, AWorkerMayStopAndStartThePoolAndGoesOn) {
  QVRSysThreadPool pool(2);
  std::latch done(1);
  pool.start();

  pool.enqueue(task([&] {
    pool.stop();
    pool.start();
    done.count_down();
  }));

  done.wait();
  expectWorkers(pool, 2);
}

/// Waits until the threads that nobody joins are gone, with what they hold.
void awaitOnlyThread() {
#ifdef QVR_TEST_SANITIZES_THREADS
  constexpr int kThreads = 2;  // the sanitizer has one of its own
#else
  constexpr int kThreads = 1;
#endif
  const auto count = [] {
    using Tasks = std::filesystem::directory_iterator;
    return std::distance(Tasks("/proc/self/task"), Tasks());
  };
  while (count() > kThreads) std::this_thread::yield();
}

TEST_F(QVRSysThreadPoolTest, AWorkerMayEnlargeThePoolToMoreAndToFewer) {
  expectedReports_.push_back(kNotLarger);
  {
    QVRSysThreadPool pool(2);
    std::latch done(2);
    pool.start();

    pool.enqueue(task([&] {
      pool.enlarge(3);
      done.count_down();
    }));
    while (pool.size() != 3) std::this_thread::yield();
    expectWorkers(pool, 3);
    pool.enqueue(task([&] {
      pool.enlarge(1);  // itself among the surplus, or not
      done.count_down();
    }));

    done.wait();
    expectWorkers(pool, 1);
  }
  awaitOnlyThread();
}

TEST_F(QVRSysThreadPoolTest, WorkersThatAllStopItAtOnceEnd) {
  constexpr int kWorkers = 8;
  for (int round = 0; round < 50; ++round) {
    QVRSysThreadPool pool(kWorkers);
    std::latch together(kWorkers);
    pool.start();
    for (int i = 0; i < kWorkers; ++i) {
      pool.enqueue(task([&] {
        together.arrive_and_wait();
        pool.stop();
      }));
    }
    together.wait();
    pool.stop();
    EXPECT_FALSE(pool.enqueue(task([] {})));
  }
}

TEST_F(QVRSysThreadPoolTest, AWorkerMayDestroyThePool) {
  for (const int workers : {1, 3}) {
    const auto dropped = std::make_shared<int>(0);
    std::latch isStarted(1);
    std::latch destroyed(1);
    auto pool = std::make_unique<OwnedPool>(workers);
    QVRSysThreadPool& started = *pool;
    pool->enqueue(task([&] {
      isStarted.wait();
      pool.reset();
      destroyed.count_down();
    }));
    for (int i = 0; i < 100; ++i) pool->enqueue(task([dropped] {}));
    started.start();
    isStarted.count_down();

    destroyed.wait();
    EXPECT_EQ(dropped.use_count(), 1);
    awaitOnlyThread();
  }
}

// ThreadSanitizer takes the destructor's first write, to the pointer to the virtual table, for a
// race with the calls that the pool sees to their end.
#ifndef QVR_TEST_SANITIZES_THREADS

TEST_F(QVRSysThreadPoolTest, AWorkerThatDestroysThePoolWaitsForTheOthers) {
  auto owner = std::make_unique<OwnedPool>(2);
  QVRSysThreadPool& pool = *owner;
  HeldTask held;
  std::latch destroyed(1);
  std::atomic<bool> isAnswered = false;
  pool.start();
  pool.enqueue(task([&, run = held.runnable()] {
    run->run();
    isAnswered = !pool.enqueue(task([] {}));
  }));
  held.awaitStart();
  pool.enqueue(task([&] {
    owner.reset();
    EXPECT_TRUE(isAnswered);
    destroyed.count_down();
  }));
  while (pool.enqueue(task([] {}))) std::this_thread::yield();

  held.letEnd();
  destroyed.wait();
}

TEST_F(QVRSysThreadPoolTest, AWorkerMayDestroyThePoolWhileAnotherThreadStopsIt) {
  for (const int workers : {1, 2, 4}) {
    auto pool = std::make_unique<OwnedPool>(workers);
    bool isDestroyed = false;
    pool->start();

    runDuringStop(*pool, [&] {
      pool.reset();
      isDestroyed = true;
    });

    EXPECT_TRUE(isDestroyed);
  }
}

#endif

TEST_F(QVRSysThreadPoolTest, OthersThatChangeItWaitUntilAStopHasEnded) {
  QVRSysThreadPool pool(1);
  HeldTask held;
  CommandedThread stopper;
  CommandedThread others[3];
  pool.start();
  pool.enqueue(held.runnable());
  held.awaitStart();
  stopper.start([&] { pool.stop(); });
  EXPECT_TRUE(stopper.sleeps());

  others[0].start([&] { pool.start(); });
  others[1].start([&] { pool.stop(); });
  others[2].start([&] { pool.enlarge(2); });

  for (CommandedThread& other : others) EXPECT_TRUE(other.sleeps());
  EXPECT_EQ(pool.size(), 1u);
  held.letEnd();
  stopper.finish();
  for (CommandedThread& other : others) other.finish();
  EXPECT_EQ(pool.size(), 2u);
  pool.start();
  expectWorkers(pool, 2);
}

// ---- Many threads ----

TEST_F(QVRSysThreadPoolTest, EveryRunnableRunsOnceWhateverTheNumberOfThreads) {
  for (const int workers : {1, 2, 8, 64}) {
    for (const int producers : {1, 3}) {
      SCOPED_TRACE(std::to_string(workers) + " workers, producers " + std::to_string(producers));
      constexpr int kShare = 1000;
      std::vector<std::atomic<int>> runs(static_cast<std::size_t>(producers * kShare));
      std::latch ran(producers * kShare);
      QVRSysThreadPool pool(workers);
      pool.start();
      runTogether(producers, [&](int self) {
        for (int i = 0; i < kShare; ++i) {
          auto& count = runs[static_cast<std::size_t>(self * kShare + i)];
          EXPECT_TRUE(pool.enqueue(task([&] {
            ++count;
            ran.count_down();
          })));
        }
      });
      ran.wait();

      for (const auto& count : runs) EXPECT_EQ(count.load(), 1);
    }
  }
}

/// Producers enqueue while the pool is stopped, started and enlarged at random.
TEST_F(QVRSysThreadPoolTest, ChangesAtRandomMomentsLoseNothingAndKeepTheOrderOfEachProducer) {
  constexpr int kShare = 400;
  const unsigned seed = testSeed();
  for (const int producers : {1, 4}) {
    for (const bool hasOneWorker : {true, false}) {
      std::vector<std::vector<int>> order(static_cast<std::size_t>(producers));
      std::vector<std::atomic<int>> runs(static_cast<std::size_t>(producers * kShare));
      std::latch ran(producers * kShare);
      std::atomic<int> working = producers;
      QVRSysThreadPool pool(1);
      pool.start();
      runTogether(producers + 1, [&](int self) {
        if (self == producers) {
          std::mt19937 random(seed);
          while (working != 0) {
            if (random() % 2 == 0) pool.stop();
            if (!hasOneWorker && random() % 4 == 0) {
              pool.enlarge(random() % 2 == 0 ? pool.size() + 1 : 1 + random() % pool.size());
            }
            pool.start();
            for (unsigned i = random() % 64; i > 0; --i) std::this_thread::yield();
          }
          return;
        }
        for (int i = 0; i < kShare; ++i) {
          const auto runnable = task([&, self, i] {
            if (hasOneWorker) order[static_cast<std::size_t>(self)].push_back(i);
            ++runs[static_cast<std::size_t>(self * kShare + i)];
            ran.count_down();
          });
          while (!pool.enqueue(runnable)) std::this_thread::yield();
        }
        --working;
      });
      ran.wait();

      for (const auto& count : runs) EXPECT_EQ(count.load(), 1);
      for (const auto& each : order) EXPECT_TRUE(std::is_sorted(each.begin(), each.end()));
      for (const AssertRecord& report : asserts_.all()) EXPECT_EQ(report, kNotLarger);
      expectedReports_ = asserts_.all();
    }
  }
}

}  // namespace
