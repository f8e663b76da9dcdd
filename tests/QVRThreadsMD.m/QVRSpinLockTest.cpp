// The lock that is waited for by reading.
#include "QVRSpinLock.h"

#include <gtest/gtest.h>

#include <atomic>
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

using Take = void (QVRSpinLock::*)();

/// Expects a thread that would take a lock that is held to get it on the release
/// and, as far as many looks can tell, not before.
void expectToWaitForTheRelease(CommandedThread& thread, QVRSpinLock& lock, Take take) {
  std::atomic<bool> hasBegun = false;
  std::atomic<bool> hasIt = false;
  thread.start([&] {
    hasBegun = true;
    (lock.*take)();
    hasIt = true;
  });
  while (!hasBegun) std::this_thread::yield();
  for (int look = 0; look < 1000; ++look) {
    ASSERT_FALSE(hasIt);
    std::this_thread::yield();
  }

  lock.release();

  thread.finish();
  EXPECT_TRUE(hasIt);
}

TEST(QVRSpinLockTest, AnotherThreadWaitsForTheRelease) {
  const Take takes[] = {&QVRSpinLock::acquire, &QVRSpinLock::acquireRead,
                        &QVRSpinLock::acquireWrite};
  CommandedThread other;
  for (const Take first : takes) {
    for (const Take second : takes) {
      QVRSpinLock lock;
      (lock.*first)();
      expectToWaitForTheRelease(other, lock, second);
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
    SCOPED_TRACE(ending.name);

    expectToWaitForTheRelease(other, lock, &QVRSpinLock::acquire);
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
