// What every guard does that holds a lock for a scope. A suite for each of them:
//
//   struct LockGuardCase {
//     using Guard = QVRSysLockGuard;
//     static constexpr char kTake[] = "acquire";
//   };
//   INSTANTIATE_TYPED_TEST_SUITE_P(QVRSysLockGuard, HoldingGuardTest, LockGuardCase);
#pragma once

#include <gtest/gtest.h>

#include <random>
#include <stdexcept>

#include "RecordingLock.h"
#include "support/TestSeed.h"

template <class Case>
class HoldingGuardTest : public testing::Test {
 protected:
  using Calls = RecordingLock::Calls;

  const Calls took_{Case::kTake};
  const Calls gaveBack_{"release"};
  RecordingLock lock_;
};

TYPED_TEST_SUITE_P(HoldingGuardTest);

TYPED_TEST_P(HoldingGuardTest, HoldsForItsScope) {
  {
    const typename TypeParam::Guard guard(this->lock_);
    EXPECT_TRUE(guard.isAcquired());
    EXPECT_EQ(this->lock_.take(), this->took_);
  }
  EXPECT_EQ(this->lock_.take(), this->gaveBack_);
}

TYPED_TEST_P(HoldingGuardTest, ReleasedEarlyItDoesNothingAtTheEndOfItsScope) {
  {
    typename TypeParam::Guard guard(this->lock_);
    this->lock_.take();

    guard.release();
    EXPECT_FALSE(guard.isAcquired());
    EXPECT_EQ(this->lock_.take(), this->gaveBack_);
    guard.release();
  }
  EXPECT_TRUE(this->lock_.take().empty());
}

TYPED_TEST_P(HoldingGuardTest, CanBeTakenAgain) {
  {
    typename TypeParam::Guard guard(this->lock_);
    guard.acquire();
    EXPECT_EQ(this->lock_.take(), this->took_) << "once";

    guard.release();
    this->lock_.take();
    guard.acquire();
    EXPECT_TRUE(guard.isAcquired());
    EXPECT_EQ(this->lock_.take(), this->took_);
  }
  EXPECT_EQ(this->lock_.take(), this->gaveBack_);
}

TYPED_TEST_P(HoldingGuardTest, LockThatThrowsWhenFirstTakenIsNotGivenBack) {
  this->lock_.throwNext();

  EXPECT_THROW(typename TypeParam::Guard(this->lock_), std::runtime_error);

  EXPECT_EQ(this->lock_.take(), this->took_);
}

TYPED_TEST_P(HoldingGuardTest, LockThatThrowsWhenTakenAgainIsNotHeld) {
  {
    typename TypeParam::Guard guard(this->lock_);
    guard.release();
    this->lock_.take();

    this->lock_.throwNext();
    EXPECT_THROW(guard.acquire(), std::runtime_error);
    EXPECT_FALSE(guard.isAcquired());
    EXPECT_EQ(this->lock_.take(), this->took_);
  }
  EXPECT_TRUE(this->lock_.take().empty());
}

TYPED_TEST_P(HoldingGuardTest, LockThatThrowsWhenGivenBackIsStillHeld) {
  {
    typename TypeParam::Guard guard(this->lock_);
    this->lock_.take();

    this->lock_.throwNext();
    EXPECT_THROW(guard.release(), std::runtime_error);
    EXPECT_TRUE(guard.isAcquired());
    EXPECT_EQ(this->lock_.take(), this->gaveBack_);
  }
  EXPECT_EQ(this->lock_.take(), this->gaveBack_) << "so it is given back again";
}

TYPED_TEST_P(HoldingGuardTest, DestructorLetsTheLocksExceptionOut) {
  const auto holdForAScope = [this] {
    const typename TypeParam::Guard guard(this->lock_);
    this->lock_.throwNext();
  };

  EXPECT_THROW(holdForAScope(), std::runtime_error);

  EXPECT_EQ(this->lock_.take().back(), "release");
}

TYPED_TEST_P(HoldingGuardTest, FollowsItsModel) {
  std::mt19937 random(testSeed());
  typename TypeParam::Guard guard(this->lock_);
  bool isHeld = true;
  this->lock_.take();
  for (int step = 0; step < 10'000 && !testing::Test::HasFailure(); ++step) {
    const bool takes = random() % 2 == 0;
    const bool isAsked = takes != isHeld;  // otherwise the guard has nothing to do
    const bool throws = isAsked && random() % 4 == 0;
    if (throws) this->lock_.throwNext();
    try {
      takes ? guard.acquire() : guard.release();
      EXPECT_FALSE(throws);
      isHeld = takes;
    } catch (const std::runtime_error&) {
      EXPECT_TRUE(throws);
    }
    EXPECT_EQ(guard.isAcquired(), isHeld);
    const auto expected = takes ? this->took_ : this->gaveBack_;
    EXPECT_EQ(this->lock_.take(), isAsked ? expected : RecordingLock::Calls());
  }
}

REGISTER_TYPED_TEST_SUITE_P(HoldingGuardTest, HoldsForItsScope,
                            ReleasedEarlyItDoesNothingAtTheEndOfItsScope, CanBeTakenAgain,
                            LockThatThrowsWhenFirstTakenIsNotGivenBack,
                            LockThatThrowsWhenTakenAgainIsNotHeld,
                            LockThatThrowsWhenGivenBackIsStillHeld,
                            DestructorLetsTheLocksExceptionOut, FollowsItsModel);
