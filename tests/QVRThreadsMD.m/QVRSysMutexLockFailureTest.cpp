// What a mutex does where the system fails it.
#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <thread>
#include <vector>

#include "QVREInternalError.h"
#include "QVRSysMonitor.h"
#include "QVRSysMutexLock.h"
#include "QVRSysMutexLockReports.h"
#include "support/AllocationRefuser.h"
#include "support/CommandedThread.h"
#include "support/ExpectFailure.h"
#include "support/PlatformPlan.h"

namespace {

using Reports = std::vector<AssertRecord>;

constexpr char kRefused[] = "Mutex Initialization failed";
constexpr int kInitializeLine = 188;

/// A mutex whose protected operations a test can call.
struct Probe : QVRSysMutexLock {
  using QVRSysMutexLock::finalize;
  using QVRSysMutexLock::initialize;
};

/// Makes a mutex and destroys it.
/// @return how often the system was asked to close one meanwhile, its own apart.
std::size_t closesOfOrphans() {
  const PlatformPlan closes("closeMutex", 0);
  { const QVRSysMutexLock other; }
  return closes.calls() - 1;
}

/// Begins with no mutex left that was closed while held.
class QVRSysMutexLockFailureTest : public testing::Test {
 protected:
  QVRSysMutexLockFailureTest() {
    while (closesOfOrphans() != 0) std::this_thread::yield();
  }
};

TEST_F(QVRSysMutexLockFailureTest, RefusedCreationIsAnInternalError) {
  for (const int error : {EAGAIN, ENOMEM, EPERM}) {
    const PlatformPlan plan("createMutex", error);
    const PlatformPlan closes("closeMutex", 0);

    expectFailure<QVREInternalError>([] { const QVRSysMutexLock lock; }, kRefused, kMutexSource,
                                     kInitializeLine);

    EXPECT_EQ(plan.calls(), 1u);
    EXPECT_EQ(closes.calls(), 0u) << "what was not made is not closed";
  }
}

TEST_F(QVRSysMutexLockFailureTest, LackOfMemoryIsAnInternalErrorToo) {
  const PlatformPlan creations("createMutex", 0);
  const AllocationRefuser refuser(1);

  expectFailure<QVREInternalError>([] { const QVRSysMutexLock lock; }, kRefused, kMutexSource,
                                   kInitializeLine);

  EXPECT_TRUE(refuser.hasRefused());
  EXPECT_EQ(creations.calls(), 0u);
}

TEST_F(QVRSysMutexLockFailureTest, MonitorIsRefusedAsItsMutexIs) {
  struct Stock : QVRSysMonitor {};
  const PlatformPlan plan("createMutex", EAGAIN);

  expectFailure<QVREInternalError>([] { const Stock stock; }, kRefused, kMutexSource,
                                   kInitializeLine);
}

TEST_F(QVRSysMutexLockFailureTest, RefusedInitializeKeepsTheMutexThatIsThere) {
  Probe lock;
  lock.acquire();
  lock.acquire();
  {
    const PlatformPlan plan("createMutex", EAGAIN);
    expectFailure<QVREInternalError>([&] { lock.initialize(); }, kRefused, kMutexSource,
                                     kInitializeLine);
  }

  EXPECT_EQ(giveBackAll(lock), 2);
}

TEST_F(QVRSysMutexLockFailureTest, RefusedInitializeOfAClosedMutexLeavesItClosed) {
  Probe lock;
  lock.finalize();
  {
    const PlatformPlan plan("createMutex", EAGAIN);
    expectFailure<QVREInternalError>([&] { lock.initialize(); }, kRefused, kMutexSource,
                                     kInitializeLine);
  }
  {
    const AssertRecorder asserts;
    lock.acquire();
    EXPECT_EQ(asserts.only(), kNotAcquired);
  }

  lock.initialize();
  lock.acquire();
  EXPECT_EQ(giveBackAll(lock), 1);
}

TEST_F(QVRSysMutexLockFailureTest, FailedWaitIsReportedAndHoldsNothing) {
  for (const int error : {EINVAL, EAGAIN, ENOTRECOVERABLE}) {
    QVRSysMutexLock lock;
    {
      const PlatformPlan plan("waitMutex", error, 1);
      const AssertRecorder asserts;
      lock.acquire();
      EXPECT_EQ(asserts.only(), kNotAcquired) << error;
    }

    EXPECT_EQ(giveBackAll(lock), 0) << error;
    lock.acquire();
    EXPECT_EQ(giveBackAll(lock), 1) << error;
  }
}

TEST_F(QVRSysMutexLockFailureTest, FailedReleaseIsReportedAndKeepsTheHold) {
  QVRSysMutexLock lock;
  lock.acquire();
  {
    const PlatformPlan plan("releaseMutex", EPERM);
    const AssertRecorder asserts;
    lock.release();
    EXPECT_EQ(asserts.only(), kNotReleased);
    EXPECT_EQ(plan.calls(), 1u);
  }

  lock.acquire();
  EXPECT_EQ(giveBackAll(lock), 2);
}

TEST_F(QVRSysMutexLockFailureTest, NestedHoldsDoNotTroubleTheSystem) {
  QVRSysMutexLock lock;
  const PlatformPlan waits("waitMutex", 0);
  const PlatformPlan releases("releaseMutex", 0);

  for (int i = 0; i < 3; ++i) lock.acquire();
  for (int i = 0; i < 3; ++i) lock.release();

  EXPECT_EQ(waits.calls(), 1u);
  EXPECT_EQ(releases.calls(), 1u);
}

TEST_F(QVRSysMutexLockFailureTest, FailedCloseIsReportedAndTriedAgainLater) {
  Probe lock;
  {
    const PlatformPlan plan("closeMutex", EINVAL);
    const AssertRecorder asserts;
    lock.finalize();
    EXPECT_EQ(asserts.only(), kNotClosed);
  }

  EXPECT_EQ(closesOfOrphans(), 1u);
  EXPECT_EQ(closesOfOrphans(), 0u) << "that succeeded";
  lock.initialize();
}

TEST_F(QVRSysMutexLockFailureTest, DestructorReportsAFailedClose) {
  auto lock = std::make_unique<QVRSysMutexLock>();
  {
    const PlatformPlan plan("closeMutex", EINVAL);
    const AssertRecorder asserts;
    lock.reset();
    EXPECT_EQ(asserts.only(), kNotClosed);
  }
  EXPECT_EQ(closesOfOrphans(), 1u);
}

TEST_F(QVRSysMutexLockFailureTest, InitializeReportsAFailedCloseOfTheMutexThatIsThere) {
  Probe lock;
  {
    const PlatformPlan plan("closeMutex", EINVAL);
    const AssertRecorder asserts;
    lock.initialize();
    EXPECT_EQ(asserts.only(), kNotClosed);
  }
  EXPECT_EQ(closesOfOrphans(), 1u);
}

TEST_F(QVRSysMutexLockFailureTest, MutexClosedWhileHeldIsFreedOnceItsHolderEnded) {
  const AssertRecorder asserts;
  auto other = std::make_unique<CommandedThread>();
  auto lock = std::make_unique<QVRSysMutexLock>();
  other->run([&] { lock->acquire(); });

  lock.reset();
  EXPECT_GE(closesOfOrphans(), 1u);
  EXPECT_GE(closesOfOrphans(), 1u) << "the holder lives, so it has to be looked at again";
  other.reset();
  EXPECT_EQ(closesOfOrphans(), 1u);

  EXPECT_EQ(closesOfOrphans(), 0u);
  EXPECT_EQ(asserts.all(), Reports());
}

TEST_F(QVRSysMutexLockFailureTest, NewMutexLooksAtFewOfManyThatWereClosedWhileHeld) {
  constexpr std::size_t kLocks = 50;
  constexpr std::size_t kFew = 2;
  auto first = std::make_unique<CommandedThread>();
  auto second = std::make_unique<CommandedThread>();
  std::vector<std::unique_ptr<QVRSysMutexLock>> locks;
  for (std::size_t i = 0; i < kLocks; ++i) locks.push_back(std::make_unique<QVRSysMutexLock>());
  first->run([&] {
    for (std::size_t i = 1; i < kLocks; i += 2) locks[i]->acquire();
  });
  second->run([&] {
    for (std::size_t i = 0; i < kLocks; i += 2) locks[i]->acquire();
  });
  locks.clear();

  EXPECT_EQ(closesOfOrphans(), kFew);
  first.reset();
  std::size_t closes = 0;
  for (std::size_t i = 0; i < kLocks / 2; ++i) closes += closesOfOrphans();
  EXPECT_EQ(closes, kLocks) << "every one was looked at";
  EXPECT_EQ(closesOfOrphans(), kFew) << "the other half is still held";
  second.reset();

  closes = 0;
  for (std::size_t i = 0; i < kLocks; ++i) closes += closesOfOrphans();
  EXPECT_EQ(closes, kLocks / 2) << "each was freed at once";
}

// The mutex is the only thing that the two threads have in common.
TEST_F(QVRSysMutexLockFailureTest, OrphanCanBeFreedByAThreadThatKnowsNothingOfItsHolder) {
  auto holder = std::make_unique<CommandedThread>();
  CommandedThread stranger;
  auto lock = std::make_unique<QVRSysMutexLock>();
  holder->run([&] {
    lock->acquire();
    lock->acquire();
  });
  lock.reset();

  stranger.start([] {
    while (closesOfOrphans() != 0) std::this_thread::yield();
  });
  holder.reset();

  stranger.finish();
}

}  // namespace
