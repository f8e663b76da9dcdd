// Locks on the fork's list are free and usable in the child.
#include "QVRSystem/internal/QVRFork.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "QVRSysFastMutexLock.h"
#include "QVRSysThreadId.h"
#include "support/ForkedChild.h"

namespace {

using qvr::internal::ForkLock;
using qvr::internal::ForkRank;
using qvr::internal::RecursiveLock;
using qvr::internal::RecursiveLockStorage;

QVRSysFastMutexLock outer{QVRStaticObject{}};
QVRSysFastMutexLock inner{QVRStaticObject{}};
// Registered against their order: the ranks decide.
const ForkLock innerHandled(ForkRank::TraceSettings, inner.getNativeLock());
const ForkLock outerHandled(ForkRank::TraceLines, outer.getNativeLock());

RecursiveLock nativeOf(QVRSysFastMutexLock& lock) {
  return RecursiveLock(*static_cast<RecursiveLockStorage*>(lock.getNativeLock()));
}

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

}  // namespace
