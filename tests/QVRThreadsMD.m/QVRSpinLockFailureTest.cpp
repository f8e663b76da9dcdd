// What spinning asks of the system, and when.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <limits>
#include <thread>

#include "QVRSpinLock.h"
#include "support/CommandedThread.h"
#include "support/PlatformPlan.h"

namespace {

/// A spin lock whose protected operations a test can call.
struct Probe : QVRSpinLock {
  using QVRSpinLock::GetNumProcessors;
  using QVRSpinLock::GetSpinLimit;
  using QVRSpinLock::SpinLimit;
};

/// Another limit for a scope.
class ScopedSpinLimit {
 public:
  explicit ScopedSpinLimit(std::uint64_t limit) { Probe::SpinLimit = limit; }
  ~ScopedSpinLimit() { Probe::SpinLimit = before_; }

  ScopedSpinLimit(const ScopedSpinLimit&) = delete;
  ScopedSpinLimit& operator=(const ScopedSpinLimit&) = delete;

 private:
  const std::uint64_t before_ = Probe::SpinLimit;
};

TEST(QVRSpinLockFailureTest, AsIfThereWereOneProcessorWhereTheSystemDoesNotTell) {
  const PlatformPlan all("processorCount", ENOSYS);
  const PlatformPlan usable("usableProcessorCount", ENOSYS);

  EXPECT_EQ(Probe::GetNumProcessors(), 1u);
  EXPECT_EQ(Probe::GetSpinLimit(), 1u);
}

TEST(QVRSpinLockFailureTest, ProcessorsOfOthersCountWhereTheThreadMayUseOne) {
  const PlatformPlan usable("usableProcessorCount", ENOSYS);

  EXPECT_EQ(Probe::GetSpinLimit(), Probe::GetNumProcessors() == 1 ? 1u : 4000u);
}

TEST(QVRSpinLockFailureTest, AsksForTheProcessorsOnlyOnce) {
  const PlatformPlan plan("processorCount", 0);
  Probe lock;

  lock.acquire();
  lock.release();

  EXPECT_EQ(plan.calls(), 0u) << "that was while the library was loaded";
}

TEST(QVRSpinLockFailureTest, FreeLockIsTakenWithoutYielding) {
  const ScopedSpinLimit limit(0);
  const PlatformPlan yields("yield", 0);
  QVRSpinLock lock;

  lock.acquire();
  lock.release();

  EXPECT_EQ(yields.calls(), 0u);
}

TEST(QVRSpinLockFailureTest, YieldsAgainAndAgainWhereverTheLimitIsReached) {
  for (const unsigned reads : {0u, 1u, 2u, 4000u}) {
    const ScopedSpinLimit limit(reads);
    const PlatformPlan yields("yield", 0);
    const PlatformPlan sleeps("sleepFor", 0);
    QVRSpinLock lock;
    CommandedThread other;
    lock.acquire();

    other.start([&] { lock.acquire(); });
    while (yields.calls() < 3) std::this_thread::yield();
    EXPECT_TRUE(other.isBusy()) << reads;
    lock.release();
    other.finish();

    EXPECT_EQ(sleeps.calls(), 0u) << reads;
  }
}

TEST(QVRSpinLockFailureTest, YieldsNotBeforeTheLimit) {
  const ScopedSpinLimit limit(std::numeric_limits<std::uint64_t>::max());
  const PlatformPlan yields("yield", 0);
  CommandedThread other;
  for (int round = 0; round < 100; ++round) {
    QVRSpinLock lock;
    lock.acquire();
    other.start([&] { lock.acquire(); });
    std::this_thread::yield();
    lock.release();
    other.finish();
  }

  EXPECT_EQ(yields.calls(), 0u);
}

TEST(QVRSpinLockFailureTest, RefusedYieldIsNoTrouble) {
  const ScopedSpinLimit limit(0);
  const PlatformPlan yields("yield", ENOSYS);
  QVRSpinLock lock;
  CommandedThread other;
  lock.acquire();

  other.start([&] { lock.acquire(); });
  while (yields.calls() < 3) std::this_thread::yield();
  lock.release();

  other.finish();
}

}  // namespace
