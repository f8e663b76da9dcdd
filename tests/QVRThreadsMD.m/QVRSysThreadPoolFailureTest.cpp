// What a thread pool makes of threads and memory that it cannot have.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <latch>
#include <memory>
#include <new>
#include <vector>

#include "PoolRunnables.h"
#include "QVREInternalError.h"
#include "QVREResourceLimit.h"
#include "QVRSysThreadPool.h"
#include "support/AllocationRefuser.h"
#include "support/AssertRecorder.h"
#include "support/ExpectFailure.h"
#include "support/PlatformPlan.h"

namespace {

template <class Action>
void expectNoThread(Action action) {
  expectFailure<QVREResourceLimit>(action, " Thread creation failed ",
                                   "QVRSystem/QVRThreadsMD.m/src/QVRSysThread", 360);
}

/// Whether so many tasks run at once; does not return where fewer do.
void runTogetherOn(QVRSysThreadPool& pool, int tasks) {
  std::latch running(tasks + 1);
  for (int i = 0; i < tasks; ++i) {
    EXPECT_TRUE(pool.enqueue(task([&] { running.arrive_and_wait(); })));
  }
  running.arrive_and_wait();
  pool.stop();
  pool.start();
}

/// Refuses one allocation of the action. @return whether it came to that.
template <class Action>
bool isRefused(std::size_t number, Action action) {
  const AllocationRefuser refuser(number);
  bool failed = false;
  try {
    action();
  } catch (const std::bad_alloc&) {
    failed = true;
  } catch (const QVREInternalError& failure) {
    EXPECT_STREQ(failure.what(), "Mutex Initialization failed");
    failed = true;
  }
  EXPECT_EQ(failed, refuser.hasRefused()) << "allocation " << number;
  return failed;
}

class QVRSysThreadPoolFailureTest : public testing::Test {
 protected:
  ~QVRSysThreadPoolFailureTest() override {
    EXPECT_EQ(asserts_.all(), std::vector<AssertRecord>());
  }

  AssertRecorder asserts_;
};

TEST_F(QVRSysThreadPoolFailureTest, AStartThatFailsLeavesTheWorkersBeforeAndTheNextMakesTheRest) {
  for (const std::size_t failing : {1u, 2u, 3u}) {
    QVRSysThreadPool pool(3);
    {
      const PlatformPlan plan("createThread", EAGAIN, failing);
      expectNoThread([&] { pool.start(); });
      EXPECT_EQ(plan.calls(), failing);
    }
    if (failing > 1) runTogetherOn(pool, static_cast<int>(failing) - 1);

    pool.start();
    EXPECT_EQ(pool.size(), 3u);
    runTogetherOn(pool, 3);
  }
}

TEST_F(QVRSysThreadPoolFailureTest, APoolWhoseStartFailedCanBeStoppedAndDestroyed) {
  QVRSysThreadPool pool(2);
  const PlatformPlan plan("createThread", EAGAIN);
  expectNoThread([&] { pool.start(); });
  EXPECT_TRUE(pool.enqueue(task([] { FAIL(); })));

  pool.stop();

  EXPECT_EQ(pool.numberTasksPending(), 1u);
  expectNoThread([&] { pool.start(); });
}

TEST_F(QVRSysThreadPoolFailureTest, AnEnlargeThatFailsKeepsTheSizeAskedForAndTheWorkersMade) {
  for (const std::size_t failing : {1u, 2u, 3u}) {
    QVRSysThreadPool pool(1);
    pool.start();
    {
      const PlatformPlan plan("createThread", EAGAIN, failing);
      expectNoThread([&] { pool.enlarge(4); });
    }

    EXPECT_EQ(pool.size(), 4u);
    std::latch running(static_cast<std::ptrdiff_t>(failing) + 1);
    for (std::size_t i = 0; i < failing; ++i) {
      pool.enqueue(task([&] { running.arrive_and_wait(); }));
    }
    running.arrive_and_wait();

    pool.stop();  // passes over the empty places
    pool.start();
    runTogetherOn(pool, 4);
  }
}

TEST_F(QVRSysThreadPoolFailureTest, AnEnlargeAfterOneThatFailedLeavesItsPlacesToTheNextStart) {
  QVRSysThreadPool pool(0);
  {
    const PlatformPlan plan("createThread", EAGAIN, 1);
    expectNoThread([&] { pool.enlarge(2); });
  }

  pool.enlarge(3);
  std::latch running(2);
  pool.enqueue(task([&] { running.arrive_and_wait(); }));
  running.arrive_and_wait();

  pool.start();
  runTogetherOn(pool, 3);
}

TEST_F(QVRSysThreadPoolFailureTest, EachAllocationOfItsConstructionCanBeRefused) {
  std::size_t number = 1;
  while (isRefused(number, [] { QVRSysThreadPool(3); })) ++number;
  EXPECT_GT(number, 3u);
}

TEST_F(QVRSysThreadPoolFailureTest, AnEnqueueThatGetsNoMemoryQueuesNothing) {
  QVRSysThreadPool pool(1);
  const Runnable runnable = task([] {});
  std::size_t queued = 0;

  refuseEachAllocation([&] {
    for (; queued < 1000; ++queued) EXPECT_TRUE(pool.enqueue(runnable));
  });

  EXPECT_EQ(pool.numberTasksPending(), 1000u);
  EXPECT_EQ(runnable->getReferences(), 1001u);
}

TEST_F(QVRSysThreadPoolFailureTest, AStartThatGetsNoMemoryIsMadeGoodByTheNext) {
  QVRSysThreadPool pool(3);
  refuseEachAllocation([&] { pool.start(); }, [&] { EXPECT_EQ(pool.size(), 3u); });
  runTogetherOn(pool, 3);
}

TEST_F(QVRSysThreadPoolFailureTest, AnEnlargeThatGetsNoMemoryIsMadeGoodByTheNextStart) {
  bool failed = true;
  for (std::size_t number = 1; failed; ++number) {
    QVRSysThreadPool pool(1);
    failed = isRefused(number, [&] { pool.enlarge(4); });

    EXPECT_EQ(pool.size(), 4u);
    pool.stop();
    pool.start();
    runTogetherOn(pool, 4);
  }
}

TEST_F(QVRSysThreadPoolFailureTest, MoreWorkersThanCanBeCountedAreBadAlloc) {
  QVRSysThreadPool pool(1);

  EXPECT_THROW(pool.enlarge(static_cast<std::size_t>(-1)), std::bad_alloc);
  EXPECT_EQ(pool.size(), static_cast<std::size_t>(-1));
  EXPECT_THROW(pool.start(), std::bad_alloc);

  pool.stop();
}

TEST_F(QVRSysThreadPoolFailureTest, MutexesThatCannotBeMadeLeaveNothingBehind) {
  for (std::size_t failing = 1;; ++failing) {
    const PlatformPlan plan("createMutex", EAGAIN, failing);
    try {
      const QVRSysThreadPool pool(2);
      EXPECT_LT(plan.calls(), failing);
      return;
    } catch (const QVREInternalError&) {
      EXPECT_EQ(plan.calls(), failing);
    }
  }
}

}  // namespace
