// Locks on the fork's list are free and usable in the child.
#include "QVRSystem/internal/QVRFork.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <deque>
#include <latch>
#include <thread>
#include <utility>

#include "QVRSysFastMutexLock.h"
#include "QVRSysThreadId.h"
#include "support/ForkedChild.h"

namespace {

using qvr::internal::BiasedLock;
using qvr::internal::BiasedLockGuard;
using qvr::internal::BiasedLockStorage;
using qvr::internal::BiasedThread;
using qvr::internal::ForkLock;
using qvr::internal::ForkRank;
using qvr::internal::knownBiasedThread;
using qvr::internal::RecursiveLock;
using qvr::internal::RecursiveLockStorage;

RecursiveLock nativeOf(QVRSysFastMutexLock& lock) {
  return RecursiveLock(*static_cast<RecursiveLockStorage*>(lock.getNativeLock()));
}

QVRSysFastMutexLock outer{QVRStaticObject{}};
QVRSysFastMutexLock inner{QVRStaticObject{}};
// Registered against their order: the ranks decide.
const ForkLock innerHandled(ForkRank::TraceSettings, inner.getNativeLock());
const ForkLock outerHandled(ForkRank::TraceLines, outer.getNativeLock());

// Locks that are made while the process runs, under the lock before them.
QVRSysFastMutexLock makerLock{QVRStaticObject{}};
std::deque<QVRSysFastMutexLock> made;
const ForkLock makerHandled(ForkRank::PoolCreation, makerLock.getNativeLock());
const ForkLock madeHandled(ForkRank::PoolBuckets, [](const ForkLock::Action& action) {
  for (QVRSysFastMutexLock& lock : made) action(nativeOf(lock));
});

BiasedLockStorage biased;
const ForkLock biasedHandled(ForkRank::PoolBuckets,
                             [](const ForkLock::Action& action) { action(BiasedLock(biased)); });

// What its owner may do between the operation on it before a fork and the fork: begin a
// turn, in which it would find its bias revoked.
BiasedThread* beginsATurn = nullptr;
const ForkLock ownerHandled(ForkRank::PoolBuckets, [](const ForkLock::Action&) {
  if (BiasedThread* const thread = std::exchange(beginsATurn, nullptr)) ++thread->turns;
});

TEST(QVRForkTest, ChildFindsLocksFreeThatOtherThreadsWereUsing) {
  std::atomic<bool> stop = false;
  std::thread user([&] {
    while (!stop) {
      const QVRSysFastMutexLock::LockGuard first(outer);
      const QVRSysFastMutexLock::LockGuard second(inner);
    }
  });

  for (int i = 0; i < 50; ++i) {
    EXPECT_EQ(exitStatusOfFork([] {
                outer.acquire();
                inner.acquire();
                inner.release();
                outer.release();
                return 0;
              }),
              0);
  }

  stop = true;
  user.join();
}

TEST(QVRForkTest, ParentKeepsUsingThem) {
  EXPECT_EQ(exitStatusOfFork([] { return 0; }), 0);

  bool taken = false;
  std::thread([&] {
    taken = nativeOf(outer).tryAcquire() && nativeOf(inner).tryAcquire();
    nativeOf(inner).release();
    nativeOf(outer).release();
  }).join();
  EXPECT_TRUE(taken);
}

TEST(QVRForkTest, ChildKeepsWhatItsThreadHeld) {
  outer.acquire();
  outer.acquire();

  const int status = exitStatusOfFork([] {
    RecursiveLock lock = nativeOf(outer);
    const bool heldTwice = lock.release() && lock.release();
    return heldTwice && !lock.release() ? 0 : 1;
  });

  EXPECT_EQ(status, 0);
  EXPECT_TRUE(nativeOf(outer).release());
  EXPECT_TRUE(nativeOf(outer).release());
}

TEST(QVRForkTest, ChildFindsLocksFreeThatWereMadeMeanwhile) {
  std::atomic<bool> stop = false;
  std::thread maker([&] {
    while (!stop) {
      {
        const QVRSysFastMutexLock::LockGuard making(makerLock);
        if (made.size() < 500) made.emplace_back();
      }
      const QVRSysFastMutexLock::LockGuard inUse(made.back());
    }
  });

  for (int i = 0; i < 50; ++i) {
    EXPECT_EQ(exitStatusOfFork([] {
                const bool free = nativeOf(makerLock).tryAcquire() &&
                                  std::all_of(made.begin(), made.end(), [](auto& lock) {
                                    return nativeOf(lock).tryAcquire();
                                  });
                return free ? 0 : 1;
              }),
              0);
  }

  stop = true;
  maker.join();
  made.clear();
}

/// A thread that has a bias and goes on when told to.
class Owner {
 public:
  Owner()
      : thread_([this] {
          { const BiasedLockGuard guard(biased); }
          state_ = knownBiasedThread();
          isOwner_.count_down();
          mayEnd_.wait();
        }) {
    isOwner_.wait();
  }
  ~Owner() {
    mayEnd_.count_down();
    thread_.join();
    biased = {};
  }

  Owner(const Owner&) = delete;
  Owner& operator=(const Owner&) = delete;

  BiasedThread& state() const { return *state_; }

 private:
  std::latch isOwner_{1};
  std::latch mayEnd_{1};
  BiasedThread* state_ = nullptr;
  std::thread thread_;
};

TEST(QVRForkTest, ChildDoesNotWaitForAnOwnerThatItDoesNotHave) {
  const Owner owner;

  EXPECT_EQ(exitStatusOfFork([] {
              const BiasedLockGuard guard(biased);
              return 0;
            }),
            0);
}

TEST(QVRForkTest, ChildFindsPlacesOfOtherThreadsFreeWhereverThoseWere) {
  const Owner owner;
  const std::uint32_t turns = owner.state().turns;
  beginsATurn = &owner.state();

  EXPECT_EQ(exitStatusOfFork([&] {
              return owner.state().turns == turns + 2 && owner.state().isTaken == 0 ? 0 : 1;
            }),
            0);

  EXPECT_EQ(owner.state().turns, turns + 1);
  EXPECT_EQ(owner.state().isTaken, 1u);
  ++owner.state().turns;
}

TEST(QVRForkTest, ChildKeepsTheBiasOfItsThread) {
  BiasedLock lock(biased);
  lock.release(lock.acquire());

  const auto isBiased = [&] {
    const BiasedLock::Hold hold = lock.acquire();
    lock.release(hold);
    return hold != BiasedLock::kSharedHold;
  };
  EXPECT_EQ(exitStatusOfFork([&] { return isBiased() ? 0 : 1; }), 0);

  EXPECT_TRUE(isBiased());
  biased = {};
}

}  // namespace
