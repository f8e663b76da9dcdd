// The lock that is waited for by reading.
#include "QVRSpinLock.h"

#include <gtest/gtest.h>

#include <thread>

#include "QVRSysLockGuard.h"
#include "support/CommandedThread.h"
#include "support/EndingThreads.h"
#include "support/LockStateMachine.h"
#include "support/MutualExclusion.h"

namespace {

/// A spin lock whose protected operations a test can call.
struct Probe : QVRSpinLock {
  using QVRSpinLock::GetNumProcessors;
  using QVRSpinLock::GetSpinLimit;
  using QVRSpinLock::SpinLimit;
};

TEST(QVRSpinLockTest, LimitIsSetWhileTheLibraryIsLoaded) {
  EXPECT_EQ(Probe::SpinLimit, Probe::GetSpinLimit());
}

TEST(QVRSpinLockTest, LimitGoesByTheNumberOfProcessors) {
  EXPECT_GE(Probe::GetNumProcessors(), 1u);
  EXPECT_EQ(Probe::GetSpinLimit(), Probe::GetNumProcessors() == 1 ? 1u : 4000u);
}

TEST(QVRSpinLockTest, AnotherThreadWaitsForTheRelease) {
  using Take = void (QVRSpinLock::*)();
  const Take takes[] = {&QVRSpinLock::acquire, &QVRSpinLock::acquireRead,
                        &QVRSpinLock::acquireWrite};
  CommandedThread other;
  for (const Take first : takes) {
    for (const Take second : takes) {
      QVRSpinLock lock;
      (lock.*first)();
      other.start([&] { (lock.*second)(); });
      EXPECT_TRUE(other.isBusy());

      lock.release();

      other.finish();
      lock.release();
    }
  }
}

TEST(QVRSpinLockTest, ReadingAndWritingTakeItByTheVirtualOperation) {
  struct : QVRSpinLock {
    void acquire() override { ++calls; }

    int calls = 0;
  } lock;

  lock.acquireRead();
  EXPECT_EQ(lock.calls, 1);
  lock.acquireWrite();
  EXPECT_EQ(lock.calls, 2);
}

TEST(QVRSpinLockTest, ReleaseOfAFreeLockLeavesItFree) {
  const AssertRecorder asserts;
  QVRSpinLock lock;

  lock.release();
  lock.acquire();
  lock.release();

  EXPECT_TRUE(asserts.all().empty());
}

TEST(QVRSpinLockTest, AnyThreadMayReleaseIt) {
  QVRSpinLock lock;
  lock.acquire();

  std::thread([&] { lock.release(); }).join();

  lock.acquire();
  lock.release();
}

TEST(QVRSpinLockTest, HoldOfAThreadThatEndedCanBeGivenBackByAnother) {
  CommandedThread other;
  for (const ThreadEnding& ending : threadEndings()) {
    QVRSpinLock lock;
    ending.run([&] { lock.acquire(); });
    other.start([&] { lock.acquire(); });
    EXPECT_TRUE(other.isBusy()) << ending.name;

    lock.release();

    other.finish();
  }
}

TEST(QVRSpinLockTest, FollowsItsModel) {
  QVRSpinLock lock;
  expectToFollowItsModel(lock, {.isRecursive = false, .hasOwner = false, .sleeps = false});
}

TEST(QVRSpinLockTest, OneThreadAtATime) {
  QVRSpinLock lock;
  expectMutualExclusion(lock, {.rounds = 3'200});
}

TEST(QVRSpinLockTest, ReadersExcludeEachOther) {
  struct {
    void acquire() { lock.acquireRead(); }
    void release() { lock.release(); }

    QVRSpinLock lock;
  } readers;
  expectMutualExclusion(readers, {.threads = {4}, .rounds = 2'000});
}

TEST(QVRSpinLockTest, GuardsHoldIt) {
  QVRSpinLock lock;
  {
    const QVRSysLockGuard guard(lock);
    EXPECT_TRUE(guard.isAcquired());
  }
  lock.acquire();
  lock.release();
}

}  // namespace
