// The lock beneath the fast mutex: depth, hand-over, passing it to another identifier.
#include "QVRRecursiveLock.h"

#include <gtest/gtest.h>

#include <limits>
#include <thread>

#include "QVRSystem/internal/QVRThreadState.h"
#include "support/LockStateMachine.h"
#include "support/MutualExclusion.h"

namespace {

using qvr::internal::currentThreadId;
using qvr::internal::RecursiveLock;
using qvr::internal::RecursiveLockStorage;

bool triedByAnotherThread(RecursiveLock lock) {
  bool taken = false;
  std::thread([&] {
    taken = lock.tryAcquire();
    if (taken) lock.release();
  }).join();
  return taken;
}

TEST(QVRRecursiveLockTest, ReleaseTellsWhetherTheCallerHeldIt) {
  RecursiveLockStorage storage = {};
  RecursiveLock lock(storage);
  EXPECT_FALSE(lock.release());

  lock.acquire();
  EXPECT_TRUE(lock.tryAcquire());
  EXPECT_TRUE(lock.release());
  EXPECT_TRUE(lock.release());
  EXPECT_FALSE(lock.release());
}

TEST(QVRRecursiveLockTest, NestsPastTheLargestSignedNumber) {
  constexpr std::uint32_t kDeep = std::numeric_limits<std::int32_t>::max();
  RecursiveLockStorage storage = {};
  RecursiveLock lock(storage);
  lock.acquire();
  storage[1] = kDeep - 1;  // as if taken that often: counting it out takes minutes

  lock.acquire();
  EXPECT_TRUE(lock.tryAcquire());
  EXPECT_FALSE(triedByAnotherThread(lock));
  for (int i = 0; i < 2; ++i) EXPECT_TRUE(lock.release());

  EXPECT_EQ(storage[1], kDeep - 1);
  storage[1] = 0;
  EXPECT_TRUE(lock.release());
  EXPECT_TRUE(triedByAnotherThread(lock));
}

TEST(QVRRecursiveLockTest, FollowsItsModel) {
  RecursiveLockStorage storage = {};
  RecursiveLock lock(storage);

  expectToFollowItsModel(lock, {});

  EXPECT_EQ(storage[0], 0u);
  EXPECT_EQ(storage[1], 0u);
}

TEST(QVRRecursiveLockTest, OneThreadAtATime) {
  RecursiveLockStorage storage = {};
  RecursiveLock lock(storage);

  expectMutualExclusion(lock, {.depth = 3});

  EXPECT_EQ(storage[0], 0u);
  EXPECT_EQ(storage[1], 0u);
}

TEST(QVRRecursiveLockTest, TwoThreadsThatTakeTurnsLoseNoWakeUp) {
  RecursiveLockStorage storage = {};
  RecursiveLock lock(storage);
  int turns = 0;
  const auto take = [&](int parity) {
    for (int done = 0; done < 2000;) {
      lock.acquire();
      if (turns % 2 == parity) {
        ++turns;
        ++done;
      }
      lock.release();
      std::this_thread::yield();
    }
  };

  std::thread even(take, 0);
  std::thread odd(take, 1);
  even.join();
  odd.join();

  EXPECT_EQ(turns, 4000);
  EXPECT_EQ(storage[0], 0u);
}

TEST(QVRRecursiveLockTest, ResetForgetsAnotherThreadsHold) {
  RecursiveLockStorage storage = {};
  RecursiveLock lock(storage);
  std::thread([&] {
    lock.acquire();
    lock.acquire();
  }).join();

  lock.reset();

  EXPECT_TRUE(lock.tryAcquire());
  EXPECT_TRUE(lock.release());
  EXPECT_TRUE(triedByAnotherThread(lock));
}

TEST(QVRRecursiveLockTest, RestampPassesEveryHold) {
  constexpr std::uint32_t kHeld = 1;
  constexpr std::uint32_t kParent = 77;
  RecursiveLockStorage storage = {kHeld, 1, kParent};
  RecursiveLock lock(storage);

  lock.restamp(kParent + 1, currentThreadId());
  EXPECT_FALSE(lock.release()) << "held by neither";
  lock.restamp(kParent, currentThreadId());

  EXPECT_TRUE(lock.release());
  EXPECT_FALSE(triedByAnotherThread(lock));
  EXPECT_TRUE(lock.release());
  EXPECT_TRUE(triedByAnotherThread(lock));
}

}  // namespace
