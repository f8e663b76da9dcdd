// The mutex that outlives its holders: its holds, what it reports, and how it is
// closed while somebody holds it.
#include "QVRSysMutexLock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <memory>
#include <new>
#include <thread>
#include <vector>

#include "QVRAssert.h"
#include "QVRSysLockGuard.h"
#include "QVRSysMutexLockReports.h"
#include "QVRSysUnlockGuard.h"
#include "support/CommandedThread.h"
#include "support/EndingThreads.h"
#include "support/ForkedChild.h"
#include "support/LockStateMachine.h"
#include "support/MutualExclusion.h"

namespace {

using Reports = std::vector<AssertRecord>;

/// A mutex whose protected operations a test can call.
struct Probe : QVRSysMutexLock {
  using QVRSysMutexLock::finalize;
  using QVRSysMutexLock::initialize;
};

/// Storage in which a mutex is made and destroyed by hand.
struct Storage {
  Storage() { new (bytes) QVRSysMutexLock; }
  QVRSysMutexLock& lock() { return *std::launder(reinterpret_cast<QVRSysMutexLock*>(bytes)); }

  void destroyAndFill() {
    lock().~QVRSysMutexLock();
    std::memset(bytes, kFill, sizeof bytes);
  }

  bool isAsFilled() const {
    for (const unsigned char byte : bytes) {
      if (byte != kFill) return false;
    }
    return true;
  }

  static constexpr unsigned char kFill = 0xA5;
  alignas(QVRSysMutexLock) unsigned char bytes[sizeof(QVRSysMutexLock)];
};

TEST(QVRSysMutexLockTest, HeldUntilEveryHoldIsGivenBack) {
  for (const bool recursive : {true, false}) {
    const AssertRecorder asserts;
    QVRSysMutexLock lock(recursive);
    expectHeldUntilEveryHoldIsGivenBack(lock);
    EXPECT_EQ(asserts.all(), Reports());
  }
}

TEST(QVRSysMutexLockTest, ReleaseOfAFreeLockIsReported) {
  QVRSysMutexLock lock;
  {
    const AssertRecorder asserts;
    lock.release();
    EXPECT_EQ(asserts.only(), kNotReleased);
  }

  lock.acquire();
  EXPECT_EQ(giveBackAll(lock), 1);
}

TEST(QVRSysMutexLockTest, ReleaseByAnotherThreadIsReportedAndChangesNothing) {
  QVRSysMutexLock lock;
  CommandedThread other;
  lock.acquire();
  lock.acquire();
  {
    const AssertRecorder asserts;
    other.run([&] { lock.release(); });
    EXPECT_EQ(asserts.only(), kNotReleased);
  }

  other.start([&] { lock.acquire(); });
  EXPECT_TRUE(other.sleeps());
  lock.release();
  EXPECT_TRUE(other.sleeps());
  lock.release();
  other.finish();
  other.run([&] { lock.release(); });
}

TEST(QVRSysMutexLockTest, FollowsItsModel) {
  QVRSysMutexLock lock;
  expectToFollowItsModel(lock, {.foreignRelease = kNotReleased, .endedHolder = kNotAcquired});
}

TEST(QVRSysMutexLockTest, OneThreadAtATime) {
  const AssertRecorder asserts;
  QVRSysMutexLock lock;
  expectMutualExclusion(lock, {.depth = 2});
  EXPECT_EQ(asserts.all(), Reports());
}

TEST(QVRSysMutexLockTest, NextHolderIsToldOnceOfOneThatEnded) {
  for (const ThreadEnding& ending : threadEndings()) {
    QVRSysMutexLock lock;
    ending.run([&] {
      lock.acquire();
      lock.acquire();
    });

    const AssertRecorder asserts;
    lock.acquire();
    EXPECT_EQ(asserts.only(), kNotAcquired) << ending.name;
    lock.acquire();
    lock.release();
    lock.release();
    lock.acquire();
    EXPECT_EQ(asserts.all(), Reports{kNotAcquired}) << ending.name;
    lock.release();
    lock.release();
    EXPECT_EQ(asserts.all(), (Reports{kNotAcquired, kNotReleased})) << ending.name;
  }
}

TEST(QVRSysMutexLockTest, WorksOnAfterSeveralHoldersThatEnded) {
  QVRSysMutexLock lock;
  for (int round = 0; round < 20; ++round) {
    const AssertRecorder asserts;
    std::thread([&] { lock.acquire(); }).join();
    EXPECT_EQ(asserts.all().size(), round == 0 ? 0u : 1u);
  }

  const AssertRecorder asserts;
  lock.acquire();
  EXPECT_EQ(asserts.only(), kNotAcquired);
  lock.release();
  expectMutualExclusion(lock, {.threads = {8}});
}

TEST(QVRSysMutexLockTest, ThreadThatGaveItsHoldsBackEndsUnnoticed) {
  const AssertRecorder asserts;
  for (const ThreadEnding& ending : threadEndings()) {
    QVRSysMutexLock lock;

    ending.run([&] {
      lock.acquire();
      lock.release();
    });
    lock.acquire();
    lock.release();

    EXPECT_EQ(asserts.all(), Reports()) << ending.name;
  }
}

TEST(QVRSysMutexLockTest, ReleaseOfALockWhoseHolderEndedIsReported) {
  QVRSysMutexLock lock;
  std::thread([&] { lock.acquire(); }).join();

  const AssertRecorder asserts;
  lock.release();
  EXPECT_EQ(asserts.only(), kNotReleased);
  lock.acquire();
  EXPECT_EQ(asserts.all(), (Reports{kNotReleased, kNotAcquired}));
  lock.release();
}

TEST(QVRSysMutexLockTest, ThreadThatWaitsIsToldWhenTheHolderEnds) {
  for (const ThreadEnding& ending : threadEndings()) {
    QVRSysMutexLock lock;
    CommandedThread waiter;
    const AssertRecorder asserts;

    ending.run([&] {
      lock.acquire();
      lock.acquire();
      waiter.start([&] {
        lock.acquire();
        lock.release();
        lock.release();
      });
      EXPECT_TRUE(waiter.sleeps()) << ending.name;
    });
    waiter.finish();

    EXPECT_EQ(asserts.all(), (Reports{kNotAcquired, kNotReleased})) << "held once, " << ending.name;
  }
}

TEST(QVRSysMutexLockTest, OnlyOneOfThoseThatWaitIsTold) {
  QVRSysMutexLock lock;
  const AssertRecorder asserts;
  CommandedThread waiters[8];

  std::thread([&] {
    lock.acquire();
    for (CommandedThread& waiter : waiters) {
      waiter.start([&] {
        lock.acquire();
        lock.release();
      });
    }
    for (CommandedThread& waiter : waiters) EXPECT_TRUE(waiter.sleeps());
  }).join();
  for (CommandedThread& waiter : waiters) waiter.finish();

  EXPECT_EQ(asserts.only(), kNotAcquired);
}

// Nothing orders the two threads but the mutex itself.
TEST(QVRSysMutexLockTest, NextHolderSeesTheLockAsTheOneThatEndedLeftIt) {
  QVRSysMutexLock lock;
  const AssertRecorder asserts;
  std::atomic<bool> isHeld = false;

  std::thread holder([&] {
    lock.acquire();
    lock.acquire();
    isHeld.store(true, std::memory_order_relaxed);
  });
  while (!isHeld.load(std::memory_order_relaxed)) std::this_thread::yield();
  lock.acquire();

  lock.release();
  lock.release();

  EXPECT_EQ(asserts.all(), (Reports{kNotAcquired, kNotReleased})) << "held once";
  holder.join();
}

std::thread::id reportedOn;

void keepThread(const char*, const char*, const char*, int) {
  reportedOn = std::this_thread::get_id();
}

TEST(QVRSysMutexLockTest, ReportsOnTheThreadThatTakesTheLock) {
  QVRSysMutexLock lock;
  std::thread([&] { lock.acquire(); }).join();
  const QVRAssertHandler before = QVRSetAssertHandler(&keepThread);

  std::thread next([&] {
    lock.acquire();
    lock.release();
  });
  const std::thread::id expected = next.get_id();
  next.join();
  QVRSetAssertHandler(before);

  EXPECT_EQ(reportedOn, expected);
}

TEST(QVRSysMutexLockTest, DestroyedWhileItsThreadHoldsItItReportsNothing) {
  const AssertRecorder asserts;
  for (const int holds : {1, 2, 100}) {
    Storage storage;
    for (int i = 0; i < holds; ++i) storage.lock().acquire();

    storage.destroyAndFill();

    EXPECT_TRUE(storage.isAsFilled()) << holds;
  }
  EXPECT_EQ(asserts.all(), Reports());
}

TEST(QVRSysMutexLockTest, DestroyedWhileAnotherThreadHoldsItItIsLetAloneByThatThread) {
  const AssertRecorder asserts;
  for (const ThreadEnding& ending : threadEndings()) {
    Storage storage;

    ending.run([&] {
      storage.lock().acquire();
      storage.lock().acquire();
      std::thread([&] { storage.destroyAndFill(); }).join();
    });

    EXPECT_TRUE(storage.isAsFilled()) << ending.name;
  }
  EXPECT_EQ(asserts.all(), Reports());
}

TEST(QVRSysMutexLockTest, DestroyedAfterItsHolderEndedItReportsNothing) {
  const AssertRecorder asserts;
  for (const ThreadEnding& ending : threadEndings()) {
    Storage storage;
    ending.run([&] { storage.lock().acquire(); });

    storage.destroyAndFill();

    EXPECT_TRUE(storage.isAsFilled()) << ending.name;
  }
  EXPECT_EQ(asserts.all(), Reports());
}

TEST(QVRSysMutexLockTest, ThreadThatHeldManyDestroyedOnesEndsInPeace) {
  constexpr int kLocks = 50;  // ThreadSanitizer lets a thread hold 64
  const AssertRecorder asserts;
  QVRSysMutexLock kept;
  auto other = std::make_unique<CommandedThread>();
  std::vector<std::unique_ptr<QVRSysMutexLock>> locks;
  for (int i = 0; i < kLocks; ++i) locks.push_back(std::make_unique<QVRSysMutexLock>());
  other->run([&] {
    kept.acquire();
    for (const auto& lock : locks) lock->acquire();
  });

  locks.clear();
  for (int i = 0; i < kLocks; ++i) locks.push_back(std::make_unique<QVRSysMutexLock>());
  for (const auto& lock : locks) {
    lock->acquire();
    lock->release();
  }
  EXPECT_EQ(asserts.all(), Reports());

  other.reset();
  kept.acquire();
  EXPECT_EQ(asserts.only(), kNotAcquired) << "the one that was not destroyed";
  kept.release();
}

TEST(QVRSysMutexLockTest, FinalizeAndInitializeForgetTheCallersHolds) {
  Probe lock;
  {
    const AssertRecorder asserts;
    lock.acquire();
    lock.acquire();
    lock.finalize();
    lock.initialize();
    EXPECT_EQ(asserts.all(), Reports());
  }

  EXPECT_EQ(giveBackAll(lock), 0);
  expectMutualExclusion(lock, {.threads = {2}, .rounds = 1000});
}

TEST(QVRSysMutexLockTest, FinalizeAndInitializeForgetAnotherThreadsHolds) {
  Probe lock;
  auto other = std::make_unique<CommandedThread>();
  const AssertRecorder asserts;
  other->run([&] {
    lock.acquire();
    lock.acquire();
  });

  lock.finalize();
  lock.initialize();
  lock.acquire();
  EXPECT_EQ(asserts.all(), Reports());

  other->run([&] { lock.release(); });
  EXPECT_EQ(asserts.only(), kNotReleased) << "its hold is forgotten";
  other.reset();
  lock.release();
  lock.acquire();
  lock.release();
  EXPECT_EQ(asserts.only(), kNotReleased) << "nor does its end count";
}

TEST(QVRSysMutexLockTest, FinalizeAndInitializeForgetAHolderThatEnded) {
  const AssertRecorder asserts;
  for (const ThreadEnding& ending : threadEndings()) {
    Probe lock;
    ending.run([&] { lock.acquire(); });

    lock.finalize();
    lock.initialize();
    lock.acquire();
    lock.release();

    EXPECT_EQ(asserts.all(), Reports()) << ending.name;
  }
}

TEST(QVRSysMutexLockTest, InitializeClosesWhatIsThere) {
  Probe lock;
  {
    const AssertRecorder asserts;
    lock.acquire();
    lock.initialize();
    EXPECT_EQ(asserts.all(), Reports());
  }

  EXPECT_EQ(giveBackAll(lock), 0);
}

TEST(QVRSysMutexLockTest, ClosedLockReportsEveryOperationUntilItIsInitialized) {
  Probe lock;
  lock.finalize();
  const AssertRecorder asserts;

  lock.acquire();
  lock.release();
  lock.finalize();
  EXPECT_EQ(asserts.all(), (Reports{kNotAcquired, kNotReleased, kNotClosed}));

  lock.initialize();
  lock.acquire();
  lock.release();
  EXPECT_EQ(asserts.all().size(), 3u);
}

TEST(QVRSysMutexLockTest, DestroyingAClosedLockIsReported) {
  const AssertRecorder asserts;
  {
    Probe lock;
    lock.finalize();
  }
  EXPECT_EQ(asserts.only(), kNotClosed);
}

TEST(QVRSysMutexLockTest, NativeLockLiesWithinTheObject) {
  const QVRSysMutexLock lock;
  const auto* const native = static_cast<const char*>(lock.getNativeLock());
  const auto* const object = reinterpret_cast<const char*>(&lock);

  EXPECT_GT(native, object);
  EXPECT_LT(native, object + sizeof lock);
}

TEST(QVRSysMutexLockTest, ForkedChildCanUseLocksThatAreFree) {
  const AssertRecorder asserts;
  QVRSysMutexLock lock;
  lock.acquire();
  lock.release();

  const int status = exitStatusOfFork([&] {
    lock.acquire();
    lock.acquire();
    lock.release();
    lock.release();
    return static_cast<int>(asserts.all().size());
  });

  EXPECT_EQ(status, 0);
}

TEST(QVRSysMutexLockTest, ForkedChildCanStartAfreshWhoeverHeldTheLock) {
  const AssertRecorder asserts;
  Probe own;
  Probe others;
  CommandedThread other;
  own.acquire();
  own.acquire();
  other.run([&] { others.acquire(); });

  const int status = exitStatusOfFork([&] {
    for (Probe* const lock : {&own, &others}) {
      lock->finalize();
      lock->initialize();
      lock->acquire();
      lock->release();
    }
    return static_cast<int>(asserts.all().size());
  });

  EXPECT_EQ(status, 0);
  own.release();
  own.release();
  other.run([&] { others.release(); });
  EXPECT_EQ(asserts.all(), Reports()) << "the parent's are as they were";
}

TEST(QVRSysMutexLockTest, GuardsHoldItAndLetItGo) {
  QVRSysMutexLock lock;
  {
    const QVRSysLockGuard guard(lock);
    {
      const QVRSysUnlockGuard unguarded(lock);
      std::thread([&] {
        lock.acquire();
        lock.release();
      }).join();
    }
    lock.acquire();
    lock.release();
  }
  EXPECT_EQ(giveBackAll(lock), 0);
}

}  // namespace
