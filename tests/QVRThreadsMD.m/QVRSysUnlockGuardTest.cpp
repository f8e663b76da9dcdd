// Letting go of a lock for a scope.
#include "QVRSysUnlockGuard.h"

#include <gtest/gtest.h>

#include <random>
#include <stdexcept>

#include "RecordingLock.h"
#include "support/TestSeed.h"

namespace {

using Calls = RecordingLock::Calls;

const Calls kTook{"acquire"};
const Calls kGaveBack{"release"};
const Calls kNothing;

TEST(QVRSysUnlockGuardTest, LetsGoForItsScope) {
  RecordingLock lock;
  {
    const QVRSysUnlockGuard guard(lock);
    EXPECT_FALSE(guard.isAcquired());
    EXPECT_EQ(lock.take(), kGaveBack);
  }
  EXPECT_EQ(lock.take(), kTook);
}

TEST(QVRSysUnlockGuardTest, TakenBackEarlyItDoesNothingAtTheEndOfItsScope) {
  RecordingLock lock;
  {
    QVRSysUnlockGuard guard(lock);
    guard.release();
    EXPECT_EQ(lock.take(), kGaveBack) << "once";

    guard.acquire();
    EXPECT_TRUE(guard.isAcquired());
    EXPECT_EQ(lock.take(), kTook);
    guard.acquire();
  }
  EXPECT_EQ(lock.take(), kNothing);
}

TEST(QVRSysUnlockGuardTest, CanLetGoAgain) {
  RecordingLock lock;
  {
    QVRSysUnlockGuard guard(lock);
    guard.acquire();
    lock.take();

    guard.release();
    EXPECT_FALSE(guard.isAcquired());
    EXPECT_EQ(lock.take(), kGaveBack);
  }
  EXPECT_EQ(lock.take(), kTook);
}

TEST(QVRSysUnlockGuardTest, LockThatThrowsWhenFirstGivenBackIsNotTaken) {
  RecordingLock lock;
  lock.throwNext();

  EXPECT_THROW(QVRSysUnlockGuard{lock}, std::runtime_error);

  EXPECT_EQ(lock.take(), kGaveBack);
}

TEST(QVRSysUnlockGuardTest, LockThatThrowsWhenGivenBackAgainIsStillHeld) {
  RecordingLock lock;
  {
    QVRSysUnlockGuard guard(lock);
    guard.acquire();
    lock.take();

    lock.throwNext();
    EXPECT_THROW(guard.release(), std::runtime_error);
    EXPECT_TRUE(guard.isAcquired());
    EXPECT_EQ(lock.take(), kGaveBack);
  }
  EXPECT_EQ(lock.take(), kNothing);
}

TEST(QVRSysUnlockGuardTest, LockThatThrowsWhenTakenBackIsNotHeld) {
  RecordingLock lock;
  {
    QVRSysUnlockGuard guard(lock);
    lock.take();

    lock.throwNext();
    EXPECT_THROW(guard.acquire(), std::runtime_error);
    EXPECT_FALSE(guard.isAcquired());
    EXPECT_EQ(lock.take(), kTook);
  }
  EXPECT_EQ(lock.take(), kTook) << "so it is tried again";
}

TEST(QVRSysUnlockGuardTest, DestructorLetsTheLocksExceptionOut) {
  RecordingLock lock;
  const auto letGoForAScope = [&] {
    const QVRSysUnlockGuard guard(lock);
    lock.throwNext();
  };

  EXPECT_THROW(letGoForAScope(), std::runtime_error);

  EXPECT_EQ(lock.take().back(), "acquire");
}

TEST(QVRSysUnlockGuardTest, FollowsItsModel) {
  std::mt19937 random(testSeed());
  RecordingLock lock;
  QVRSysUnlockGuard guard(lock);
  bool isHeld = false;
  lock.take();
  for (int step = 0; step < 10'000 && !testing::Test::HasFailure(); ++step) {
    const bool takes = random() % 2 == 0;
    const bool isAsked = takes != isHeld;
    takes ? guard.acquire() : guard.release();
    isHeld = takes;
    EXPECT_EQ(guard.isAcquired(), isHeld);
    EXPECT_EQ(lock.take(), isAsked ? (takes ? kTook : kGaveBack) : kNothing);
  }
}

}  // namespace
