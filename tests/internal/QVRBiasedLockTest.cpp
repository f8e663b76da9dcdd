// That a biased lock is one thread's at a time: its owner's by the bias, everyone's after.
#include "QVRSystem/internal/QVRBiasedLock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <latch>
#include <thread>
#include <vector>

#include "QVRFunctor0.h"
#include "QVRSysThreadBody.h"
#include "QVRSystem/internal/QVRBiasPolicy.h"
#include "support/PlatformPlan.h"
#include "support/ThreadSanitizer.h"

namespace qvr::internal {

struct BiasedLockTestAccess {
  /// As another thread asks the calling one for its bias.
  static void ask(BiasedLockStorage& storage) { BiasedLock(storage).ask(*knownBiasedThread()); }
};

}  // namespace qvr::internal

namespace {

using qvr::internal::BiasedLock;
using qvr::internal::BiasedLockGuard;
using qvr::internal::BiasedLockStorage;
using qvr::internal::BiasedLockTestAccess;
using qvr::internal::BiasedThread;
using qvr::internal::BiasPolicy;

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

/// How often a thread that takes the lock alone does so before it has the bias.
std::uint32_t holdsBeforeTheBias(BiasedLockStorage& storage) {
  std::uint32_t holds = 0;
  while (holds < 10 * BiasPolicy::kLongestRun && !isBiased(storage)) ++holds;
  return holds;
}

TEST(QVRBiasedLockTest, FirstThreadHasTheBiasFromItsSecondHoldOn) {
  BiasedLockStorage storage;

  EXPECT_FALSE(isBiased(storage));
  EXPECT_TRUE(isBiased(storage));
  EXPECT_TRUE(isBiased(storage));
}

TEST(QVRBiasedLockTest, AnotherThreadEndsTheBias) {
  BiasedLockStorage storage;
  isBiased(storage);

  EXPECT_FALSE(isBiasedOnAnotherThread(storage));

  EXPECT_FALSE(isBiased(storage));
  EXPECT_FALSE(isBiased(storage));
  EXPECT_FALSE(isBiasedOnAnotherThread(storage));
}

TEST(QVRBiasedLockTest, BiasComesBackToAThreadThatStaysAlone) {
  BiasedLockStorage storage;
  isBiased(storage);
  isBiasedOnAnotherThread(storage);

  EXPECT_EQ(holdsBeforeTheBias(storage), BiasPolicy::kFirstRun + 1);
  EXPECT_TRUE(isBiased(storage));
}

TEST(QVRBiasedLockTest, BiasThatWasOfNoUseComesBackLater) {
  BiasedLockStorage storage;
  isBiased(storage);
  for (std::uint32_t run = BiasPolicy::kFirstRun; run <= BiasPolicy::kLongestRun; run *= 2) {
    isBiasedOnAnotherThread(storage);
    EXPECT_EQ(holdsBeforeTheBias(storage), run + 1);
  }
}

TEST(QVRBiasedLockTest, BiasThatWasOfUseGoesToTheNextThreadAtOnce) {
  BiasedLockStorage storage;
  isBiased(storage);
  isBiasedOnAnotherThread(storage);
  holdsBeforeTheBias(storage);
  for (std::uint32_t i = 0; i < BiasPolicy::kWorthwhileTurns; ++i) isBiased(storage);

  std::thread([&] { EXPECT_EQ(holdsBeforeTheBias(storage), 1u); }).join();
}

TEST(QVRBiasedLockTest, BiasTowardsAThreadThatHasEndedIsEnded) {
  BiasedLockStorage own;
  isBiased(own);  // so that this thread has a place of its own
  BiasedLockStorage storage;
  std::thread([&] {
    isBiased(storage);
    EXPECT_TRUE(isBiased(storage));
  }).join();

  EXPECT_FALSE(isBiased(storage));
  EXPECT_FALSE(isBiased(storage));
}

TEST(QVRBiasedLockTest, ThreadInThePlaceOfOneThatHasEndedHasItsBiases) {
  BiasedLockStorage storage;
  std::thread([&] { isBiased(storage); }).join();

  std::thread([&] {
    BiasedLockStorage other;
    isBiased(other);
    EXPECT_TRUE(isBiased(storage));
  }).join();
}

#ifndef QVR_TEST_SANITIZES_THREADS

TEST(QVRBiasedLockTest, ThreadThatIsCancelledLeavesItsPlace) {
  static std::atomic<BiasedThread*> place = nullptr;
  const auto thread = QVRMakeThread(QVRMakeFunctor0(+[] {
    BiasedLockStorage storage;
    isBiased(storage);
    place = qvr::internal::knownBiasedThread();
    for (;;) qvr::internal::pause();
  }));
  thread->start();
  while (place == nullptr) std::this_thread::yield();
  EXPECT_EQ(place.load()->isTaken, 1u);

  EXPECT_TRUE(thread->cancel());

  EXPECT_EQ(place.load()->isTaken, 0u);
}

#endif

TEST(QVRBiasedLockTest, MoreThreadsThanCanHaveABiasShareTheLock) {
  constexpr std::size_t kThreads = 700;
  std::atomic<std::size_t> biased = 0;
  std::latch all(kThreads);
  std::vector<std::thread> threads;

  for (std::size_t i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      BiasedLockStorage own;
      isBiased(own);
      if (isBiased(own)) ++biased;
      all.arrive_and_wait();
    });
  }
  for (std::thread& thread : threads) thread.join();

  EXPECT_LT(biased, kThreads);
  BiasedLockStorage storage;
  std::thread([&] { EXPECT_EQ(holdsBeforeTheBias(storage), 1u); }).join();
}

TEST(QVRBiasedLockTest, WithoutABarrierThereIsNoBias) {
  const PlatformPlan plan("prepareBarrierOfAllThreads", ENOSYS);
  BiasedLockStorage storage;

  std::thread([&] {  // one that has not asked before
    EXPECT_FALSE(isBiased(storage));
    EXPECT_FALSE(isBiased(storage));
  })
      .join();
  EXPECT_FALSE(isBiasedOnAnotherThread(storage));

  EXPECT_EQ(plan.calls(), 2u);  // once by each thread
}

TEST(QVRBiasedLockTest, BarrierRefusedLaterIsWaitedForOnce) {
  BiasedLockStorage storage;
  isBiased(storage);
  const PlatformPlan barrier("barrierOfAllThreads", EPERM);
  const PlatformPlan sleep("sleepFor", 0);

  EXPECT_FALSE(isBiasedOnAnotherThread(storage));
  for (std::uint32_t i = 0; i < 10 * BiasPolicy::kFirstRun; ++i) EXPECT_FALSE(isBiased(storage));

  EXPECT_EQ(barrier.calls(), 1u);
  EXPECT_EQ(sleep.calls(), 1u);
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
void waitForRevocation(BiasedLockStorage& storage) {
  while (std::atomic_ref(storage.owner) != nullptr) std::this_thread::yield();
}

TEST(QVRBiasedLockTest, OwnerInsideIsWaitedFor) {
  BiasedLockStorage storage;
  isBiased(storage);
  BiasedLock lock(storage);
  const BiasedLock::Hold hold = lock.acquire();
  Contender one(storage);
  Contender two(storage);
  waitForRevocation(storage);

  EXPECT_FALSE(one.hasEntered() || two.hasEntered());
  lock.release(hold);
  one.join();
  two.join();

  EXPECT_TRUE(one.hasEntered() && two.hasEntered());
}

TEST(QVRBiasedLockTest, OwnerThatIsAskedGivesItsBiasUpWithoutABarrier) {
  BiasedLockStorage storage;
  isBiased(storage);
  const PlatformPlan barrier("barrierOfAllThreads", 0);

  BiasedLockTestAccess::ask(storage);
  EXPECT_NE(storage.owner, nullptr);
  EXPECT_TRUE(isBiased(storage));

  EXPECT_EQ(storage.owner, nullptr);
  EXPECT_FALSE(isBiased(storage));
  EXPECT_EQ(barrier.calls(), 0u);
}

TEST(QVRBiasedLockTest, OwnerOfManyGivesUpTheBiasThatIsWantedAlone) {
  BiasedLockStorage wanted;
  BiasedLockStorage other;
  BiasedLockStorage wantedBefore;
  for (BiasedLockStorage* storage : {&wanted, &other, &wantedBefore}) isBiased(*storage);
  BiasedLockTestAccess::ask(wantedBefore);
  isBiased(wantedBefore);
  isBiased(wantedBefore);

  for (BiasedLockStorage* kept : {&other, &wantedBefore}) {
    BiasedLockTestAccess::ask(wanted);
    EXPECT_TRUE(isBiased(*kept));
    EXPECT_TRUE(isBiased(*kept));
  }

  EXPECT_TRUE(isBiased(wanted)) << "nobody asks any more";
  BiasedLockTestAccess::ask(wanted);
  EXPECT_TRUE(isBiased(wanted));
  EXPECT_FALSE(isBiased(wanted));
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

/// Lets a thread that runs become the owner.
void leaveItToOthers(BiasedLockStorage& storage) {
  constexpr int kLooks = 1000;
  const std::atomic_ref owner(storage.owner);
  for (int i = 0; i < kLooks && owner == nullptr; ++i) qvr::internal::pause();
}

TEST(QVRBiasedLockTest, OwnerAtWorkIsKeptOutWhereverItIs) {
  constexpr int kRounds = 10'000;
  Counter counter;
  std::atomic<bool> stop = false;
  long additions = 0;
  std::thread owner([&] {
    for (; !stop.load(std::memory_order_relaxed); ++additions) counter.add(1);
  });

  BiasedLock lock(counter.storage);
  for (int round = 0; round < kRounds; ++round) {
    leaveItToOthers(counter.storage);
    lock.shared().acquire();
    lock.keepOthersOut();
    ++counter.count;
    lock.shared().release();
  }
  stop = true;
  owner.join();

  EXPECT_EQ(counter.count, additions + kRounds);
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
  BiasedLock lock(storage);

  lock.shared().acquire();
  lock.keepOthersOut();
  EXPECT_EQ(storage.owner, nullptr);
  isBiased(storage);
  lock.shared().release();

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
