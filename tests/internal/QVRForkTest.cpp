// Locks on the fork's list are free and usable in the child.
#include "QVRSystem/internal/QVRFork.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <deque>
#include <thread>
#include <utility>

#include "QVRSysFastMutexLock.h"
#include "QVRSysThreadId.h"
#include "support/ForkedChild.h"

namespace {

using qvr::internal::BiasedLock;
using qvr::internal::BiasedLockGuard;
using qvr::internal::BiasedLockStorage;
using qvr::internal::ForkLock;
using qvr::internal::ForkRank;
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

// A biased lock, and what its owner may do between the operation on it before a fork
// and the fork: find its bias revoked, inside for a moment.
BiasedLockStorage biased;
const ForkLock biasedHandled(ForkRank::PoolBuckets,
                             [](const ForkLock::Action& action) { action(BiasedLock(biased)); });
bool ownerLooksDuringTheFork = false;
const ForkLock ownerHandled(ForkRank::PoolBuckets, [](const ForkLock::Action&) {
  if (std::exchange(ownerLooksDuringTheFork, false)) biased.inside = 1;
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

TEST(QVRForkTest, ChildDoesNotWaitForAnOwnerThatItDoesNotHave) {
  std::thread([] { const BiasedLockGuard guard(biased); }).join();
  ownerLooksDuringTheFork = true;

  EXPECT_EQ(exitStatusOfFork([] {
              const BiasedLockGuard guard(biased);
              return 0;
            }),
            0);

  EXPECT_EQ(biased.inside, 1u);
  biased = {};
}

TEST(QVRForkTest, ChildKeepsTheBiasOfItsThread) {
  BiasedLock lock(biased);
  lock.release(lock.acquire());
  const BiasedLock::Hold outermost = lock.acquire();

  const auto nests = [&] {
    const BiasedLock::Hold nested = lock.acquire();
    lock.release(nested);
    return nested == outermost + 1;
  };
  EXPECT_EQ(exitStatusOfFork([&] { return nests() ? 0 : 1; }), 0);

  EXPECT_TRUE(nests());
  lock.release(outermost);
  biased = {};
}

}  // namespace
