// The flag that one thread at a time can have.
#include "QVRAtomicLock.h"

#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <thread>

#include "support/CommandedThread.h"
#include "support/EndingThreads.h"
#include "support/MutualExclusion.h"
#include "support/TestSeed.h"

namespace {

TEST(QVRAtomicLockTest, IsFreeAtFirst) {
  const QVRAtomicLock lock;

  EXPECT_FALSE(lock.isLocked());
}

TEST(QVRAtomicLockTest, OnlyTheFirstToAskHasIt) {
  QVRAtomicLock lock;

  EXPECT_TRUE(lock.acquire());
  EXPECT_TRUE(lock.isLocked());
  EXPECT_FALSE(lock.acquire());
  EXPECT_TRUE(lock.isLocked()) << "the refused one changes nothing";

  lock.release();
  EXPECT_FALSE(lock.isLocked()) << "one release suffices";
  EXPECT_TRUE(lock.acquire());
}

TEST(QVRAtomicLockTest, ReleaseOfAFreeLockChangesNothing) {
  QVRAtomicLock lock;

  lock.release();

  EXPECT_FALSE(lock.isLocked());
  EXPECT_TRUE(lock.acquire());
}

TEST(QVRAtomicLockTest, AnyThreadMayReleaseIt) {
  QVRAtomicLock lock;
  lock.acquire();

  std::thread([&] { lock.release(); }).join();

  EXPECT_FALSE(lock.isLocked());
}

TEST(QVRAtomicLockTest, StaysHeldWhenItsHolderEnds) {
  for (const ThreadEnding& ending : threadEndings()) {
    QVRAtomicLock lock;

    ending.run([&] { lock.acquire(); });

    EXPECT_FALSE(lock.acquire()) << ending.name;
    lock.release();
    EXPECT_TRUE(lock.acquire()) << ending.name;
  }
}

TEST(QVRAtomicLockTest, FollowsItsModel) {
  std::mt19937 random(testSeed());
  CommandedThread threads[3];
  QVRAtomicLock lock;
  bool isHeld = false;
  for (int step = 0; step < 10'000 && !testing::Test::HasFailure(); ++step) {
    const bool releases = random() % 3 == 0;
    threads[random() % std::size(threads)].run([&] {
      EXPECT_EQ(lock.isLocked(), isHeld);
      if (releases) {
        lock.release();
      } else {
        EXPECT_EQ(lock.acquire(), !isHeld);
      }
    });
    isHeld = !releases;
  }
}

TEST(QVRAtomicLockTest, OneThreadAtATime) {
  struct {
    void acquire() {
      while (!flag.acquire()) std::this_thread::yield();
    }
    void release() { flag.release(); }

    QVRAtomicLock flag;
  } lock;
  expectMutualExclusion(lock, {.rounds = 8'000});
}

}  // namespace
