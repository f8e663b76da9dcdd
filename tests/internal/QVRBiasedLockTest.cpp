// That a biased lock is one thread's at a time: its owner's by the bias, everyone's after.
#include "QVRSystem/internal/QVRBiasedLock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <latch>
#include <thread>
#include <vector>

#include "support/PlatformPlan.h"

namespace {

using qvr::internal::BiasedLock;
using qvr::internal::BiasedLockGuard;
using qvr::internal::BiasedLockStorage;

/// Takes the lock and gives it back. @return whether by the bias.
bool isBiased(BiasedLockStorage& storage) {
  BiasedLock lock(storage);
  const BiasedLock::Hold hold = lock.acquire();
  lock.release(hold);
  return hold != BiasedLock::kSharedHold;
}

bool isBiasedOnAnotherThread(BiasedLockStorage& storage) {
  bool result = false;
  std::thread([&] { result = isBiased(storage); }).join();
  return result;
}

TEST(QVRBiasedLockTest, FirstThreadHasTheBiasFromItsSecondHoldOn) {
  BiasedLockStorage storage;

  EXPECT_FALSE(isBiased(storage));
  EXPECT_TRUE(isBiased(storage));
  EXPECT_TRUE(isBiased(storage));
}

TEST(QVRBiasedLockTest, AnotherThreadEndsTheBiasForAll) {
  BiasedLockStorage storage;
  isBiased(storage);

  EXPECT_FALSE(isBiasedOnAnotherThread(storage));

  EXPECT_FALSE(isBiased(storage));
  EXPECT_FALSE(isBiased(storage));
  EXPECT_FALSE(isBiasedOnAnotherThread(storage));
}

TEST(QVRBiasedLockTest, BiasTowardsAThreadThatHasEndedIsEnded) {
  BiasedLockStorage storage;
  std::thread([&] {
    isBiased(storage);
    EXPECT_TRUE(isBiased(storage));
  }).join();

  EXPECT_FALSE(isBiased(storage));
  EXPECT_FALSE(isBiased(storage));
}

TEST(QVRBiasedLockTest, WithoutABarrierThereIsNoBias) {
  const PlatformPlan plan("prepareBarrierOfAllThreads", ENOSYS);
  BiasedLockStorage storage;

  EXPECT_FALSE(isBiased(storage));
  EXPECT_FALSE(isBiased(storage));
  EXPECT_FALSE(isBiasedOnAnotherThread(storage));
  EXPECT_EQ(plan.calls(), 1u);
}

TEST(QVRBiasedLockTest, BarrierRefusedLaterIsWaitedFor) {
  BiasedLockStorage storage;
  isBiased(storage);
  const PlatformPlan barrier("barrierOfAllThreads", EPERM);
  const PlatformPlan sleep("sleepFor", 0);

  EXPECT_FALSE(isBiasedOnAnotherThread(storage));
  EXPECT_FALSE(isBiased(storage));

  EXPECT_EQ(barrier.calls(), 1u);
  EXPECT_EQ(sleep.calls(), 1u);
}

TEST(QVRBiasedLockTest, HoldsNest) {
  BiasedLockStorage storage;
  bool entered = false;
  {
    const BiasedLockGuard first(storage);
    const BiasedLockGuard byBias(storage);
    const BiasedLockGuard nested(storage);
  }
  std::thread([&] {
    const BiasedLockGuard shared(storage);
    const BiasedLockGuard nested(storage);
    entered = true;
  }).join();

  EXPECT_TRUE(entered);
}

/// A thread that takes the lock as soon as it runs.
class Contender {
 public:
  explicit Contender(BiasedLockStorage& storage)
      : thread_([this, &storage] {
          begun_.count_down();
          const BiasedLockGuard guard(storage);
          entered_ = true;
        }) {
    begun_.wait();
  }

  bool hasEntered() const { return entered_; }
  void join() { thread_.join(); }

 private:
  std::latch begun_{1};
  std::atomic<bool> entered_ = false;
  std::thread thread_;
};

/// Waits until somebody has ended the bias.
void waitForRevocation(const BiasedLockStorage& storage, std::uint32_t useBefore) {
  while (std::atomic_ref(const_cast<std::uint32_t&>(storage.use)) == useBefore) {
    std::this_thread::yield();
  }
}

TEST(QVRBiasedLockTest, OwnerInsideIsWaitedForAndMayNest) {
  BiasedLockStorage storage;
  isBiased(storage);
  const std::uint32_t biased = storage.use;
  BiasedLock lock(storage);
  const BiasedLock::Hold hold = lock.acquire();
  Contender one(storage);
  Contender two(storage);
  waitForRevocation(storage, biased);

  EXPECT_TRUE(isBiased(storage));
  EXPECT_FALSE(one.hasEntered() || two.hasEntered());
  lock.release(hold);
  one.join();
  two.join();

  EXPECT_TRUE(one.hasEntered() && two.hasEntered());
  EXPECT_FALSE(isBiased(storage));
}

/// What a lock guards: nothing atomic about it.
struct Counter {
  BiasedLockStorage storage;
  long count = 0;

  void add(int times) {
    for (int i = 0; i < times; ++i) {
      const BiasedLockGuard guard(storage);
      ++count;
    }
  }
};

TEST(QVRBiasedLockTest, OwnerAtWorkLosesNothingWhenOthersCome) {
  constexpr int kRounds = 2000;
  constexpr int kAdditions = 200;
  for (int round = 0; round < kRounds; ++round) {
    Counter counter;
    std::latch start(2);
    std::thread owner([&] {
      counter.add(1);
      start.arrive_and_wait();
      counter.add(kAdditions);
    });
    start.arrive_and_wait();
    counter.add(kAdditions);
    owner.join();

    ASSERT_EQ(counter.count, 2 * kAdditions + 1);
  }
}

TEST(QVRBiasedLockTest, ManyThreadsShareIt) {
  constexpr int kThreads = 8;
  constexpr int kAdditions = 2000;
  Counter counter;
  std::vector<std::thread> threads;

  for (int i = 0; i < kThreads; ++i) threads.emplace_back([&] { counter.add(kAdditions); });
  for (std::thread& thread : threads) thread.join();

  EXPECT_EQ(counter.count, kThreads * kAdditions);
}

TEST(QVRBiasedLockTest, WhoeverHoldsTheSharedLockCanKeepTheOwnerOut) {
  BiasedLockStorage storage;
  std::thread([&] { isBiased(storage); }).join();
  const std::uint32_t biased = storage.use;
  BiasedLock lock(storage);

  lock.shared().acquire();
  lock.keepOthersOut();
  lock.shared().release();

  EXPECT_NE(storage.use, biased);
}

TEST(QVRBiasedLockTest, OwnerThatIsForgottenInsideIsNotWaitedFor) {
  BiasedLockStorage storage;
  std::thread([&] { isBiased(storage); }).join();
  BiasedLock lock(storage);

  lock.shared().acquire();
  lock.keepOthersOut();
  storage.inside = 1;
  lock.forgetOthers();
  lock.shared().release();

  EXPECT_FALSE(isBiased(storage));
}

TEST(QVRBiasedLockTest, OwnerThatForgetsOthersKeepsItsHoldsAndItsBias) {
  BiasedLockStorage storage;
  isBiased(storage);
  BiasedLock lock(storage);
  const BiasedLock::Hold hold = lock.acquire();

  lock.shared().acquire();
  lock.forgetOthers();
  lock.shared().release();

  EXPECT_EQ(storage.inside, 1u);
  lock.release(hold);
  EXPECT_TRUE(isBiased(storage));
}

TEST(QVRBiasedLockTest, OwnerThatKeepsOthersOutKeepsItsBias) {
  BiasedLockStorage storage;
  isBiased(storage);
  BiasedLock lock(storage);

  lock.shared().acquire();
  lock.keepOthersOut();
  lock.shared().release();

  EXPECT_TRUE(isBiased(storage));
}

}  // namespace
