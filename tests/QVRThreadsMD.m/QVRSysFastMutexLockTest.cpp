// The lock of class-wide data: recursive, usable before construction and after
// destruction; and its two guards.
#include "QVRSysFastMutexLock.h"

#include <gtest/gtest.h>

#include <cstring>
#include <future>
#include <new>
#include <thread>

#include "support/EndingThreads.h"
#include "support/LockStateMachine.h"
#include "support/MutualExclusion.h"

namespace {

/// A fast mutex whose protected operations a test can call.
struct Probe : QVRSysFastMutexLock {
  using QVRSysFastMutexLock::finalize;
  using QVRSysFastMutexLock::initialize;
  using QVRSysFastMutexLock::QVRSysFastMutexLock;
  using QVRSysFastMutexLock::tryAcquireNative;
};

/// Whether a thread other than the caller's could take the lock.
bool isFree(QVRSysFastMutexLock& lock) {
  auto& probe = static_cast<Probe&>(lock);
  return std::async(std::launch::async,
                    [&] {
                      const bool taken = probe.tryAcquireNative();
                      if (taken) probe.release();
                      return taken;
                    })
      .get();
}

/// Storage for a mutex whose constructor has not run.
struct RawStorage {
  explicit RawStorage(int fill) { std::memset(bytes, fill, sizeof bytes); }
  Probe& lock() { return *reinterpret_cast<Probe*>(bytes); }

  alignas(Probe) unsigned char bytes[sizeof(Probe)];
};

TEST(QVRSysFastMutexLockTest, HeldUntilEveryHoldIsGivenBack) {
  QVRSysFastMutexLock lock;
  EXPECT_TRUE(isFree(lock));

  for (int i = 0; i < 3; ++i) lock.acquire();
  for (int i = 0; i < 3; ++i) {
    EXPECT_FALSE(isFree(lock)) << i;
    lock.release();
  }

  EXPECT_TRUE(isFree(lock));
}

TEST(QVRSysFastMutexLockTest, StaticObjectsAreConstructedAlike) {
  QVRSysFastMutexLock lock{QVRStaticObject{}};
  EXPECT_TRUE(isFree(lock));

  lock.acquire();
  EXPECT_FALSE(isFree(lock));
  lock.release();
  EXPECT_TRUE(isFree(lock));
}

TEST(QVRSysFastMutexLockTest, ReleaseOfAFreeLockChangesNothing) {
  QVRSysFastMutexLock lock;

  lock.release();
  lock.acquire();
  EXPECT_FALSE(isFree(lock));
  lock.release();

  EXPECT_TRUE(isFree(lock));
}

TEST(QVRSysFastMutexLockTest, ReleaseByAnotherThreadChangesNothing) {
  QVRSysFastMutexLock lock;
  lock.acquire();

  std::thread([&] { lock.release(); }).join();

  EXPECT_FALSE(isFree(lock));
  lock.release();
  EXPECT_TRUE(isFree(lock));
}

TEST(QVRSysFastMutexLockTest, OneThreadAtATime) {
  QVRSysFastMutexLock lock;
  expectMutualExclusion(lock, {.depth = 2});
}

TEST(QVRSysFastMutexLockTest, FollowsItsModel) {
  struct : Probe {
    bool tryAcquire() { return tryAcquireNative(); }
  } lock;
  expectToFollowItsModel(lock, {});
}

TEST(QVRSysFastMutexLockTest, WorksInZerosBeforeItsConstructor) {
  RawStorage raw(0);

  raw.lock().acquire();
  EXPECT_FALSE(isFree(raw.lock()));
  raw.lock().release();

  EXPECT_TRUE(isFree(raw.lock()));
}

TEST(QVRSysFastMutexLockTest, FirstOperationInZerosMayBeARelease) {
  RawStorage raw(0);

  raw.lock().release();

  EXPECT_TRUE(isFree(raw.lock()));
}

TEST(QVRSysFastMutexLockTest, SeveralThreadsMayMeetInZeros) {
  for (int round = 0; round < 100; ++round) {
    RawStorage raw(0);
    expectMutualExclusion(raw.lock(), {.threads = {2}, .rounds = 200, .depth = 2});
  }
}

TEST(QVRSysFastMutexLockTest, AnyOtherStateWordIsInitialisedFirst) {
  RawStorage raw(0xA5);

  raw.lock().acquire();
  EXPECT_FALSE(isFree(raw.lock()));
  raw.lock().release();

  EXPECT_TRUE(isFree(raw.lock()));
}

TEST(QVRSysFastMutexLockTest, WorksAfterItsDestructor) {
  RawStorage raw(0);
  auto* const lock = new (raw.bytes) Probe;
  lock->acquire();
  lock->~Probe();

  EXPECT_TRUE(isFree(raw.lock()));
  raw.lock().acquire();
  EXPECT_FALSE(isFree(raw.lock()));
  raw.lock().release();
  EXPECT_TRUE(isFree(raw.lock()));
}

TEST(QVRSysFastMutexLockTest, DestructorLeavesZerosThatTheNextUseInitialises) {
  RawStorage raw(0xA5);
  new (raw.bytes) QVRSysFastMutexLock;
  raw.lock().acquire();
  reinterpret_cast<QVRSysFastMutexLock*>(raw.bytes)->~QVRSysFastMutexLock();

  // Everything behind the pointer to the virtual table.
  const unsigned char zeros[sizeof raw.bytes] = {};
  EXPECT_EQ(std::memcmp(raw.bytes + sizeof(void*), zeros, sizeof(std::uint32_t) * 3), 0);
  expectMutualExclusion(raw.lock(), {.threads = {2}, .rounds = 2000});
}

TEST(QVRSysFastMutexLockTest, ConstructorForgetsAnEarlierUse) {
  RawStorage raw(0);
  raw.lock().acquire();

  auto* const lock = new (raw.bytes) QVRSysFastMutexLock;

  EXPECT_TRUE(isFree(*lock));
  lock->~QVRSysFastMutexLock();
}

TEST(QVRSysFastMutexLockTest, InitializeKeepsWhatIsInitialised) {
  Probe lock;
  lock.acquire();

  lock.initialize();
  EXPECT_FALSE(isFree(lock));
  lock.release();
}

TEST(QVRSysFastMutexLockTest, FinalizeForgetsEveryHoldAndMayBeRepeated) {
  Probe lock;
  lock.acquire();
  lock.acquire();

  lock.finalize();
  lock.finalize();

  EXPECT_TRUE(isFree(lock));
  lock.acquire();
  EXPECT_FALSE(isFree(lock));
  lock.release();
}

TEST(QVRSysFastMutexLockTest, StaysHeldWhenItsHolderEnds) {
  for (const ThreadEnding& ending : threadEndings()) {
    QVRSysFastMutexLock lock;

    ending.run([&] { lock.acquire(); });

    EXPECT_FALSE(isFree(lock)) << ending.name;
  }
}

TEST(QVRSysFastMutexLockTest, NativeLockLiesWithinTheObject) {
  const QVRSysFastMutexLock lock;
  const auto* const native = static_cast<const char*>(lock.getNativeLock());
  const auto* const object = reinterpret_cast<const char*>(&lock);

  EXPECT_GT(native, object);
  EXPECT_LT(native, object + sizeof lock);
}

TEST(QVRSysFastMutexLockTest, LockGuardHoldsForItsScope) {
  QVRSysFastMutexLock lock;
  {
    const QVRSysFastMutexLock::LockGuard guard(lock);
    EXPECT_TRUE(guard.isAcquired());
    EXPECT_FALSE(isFree(lock));
  }
  EXPECT_TRUE(isFree(lock));
}

TEST(QVRSysFastMutexLockTest, LockGuardNeitherTakesNorGivesTwice) {
  QVRSysFastMutexLock lock;
  lock.acquire();
  {
    QVRSysFastMutexLock::LockGuard guard(lock);
    guard.acquire();
    guard.release();
    EXPECT_FALSE(guard.isAcquired());
    guard.release();
    EXPECT_FALSE(isFree(lock)) << "the hold from before the guard";
  }
  EXPECT_FALSE(isFree(lock));
  lock.release();
  EXPECT_TRUE(isFree(lock));
}

TEST(QVRSysFastMutexLockTest, LockGuardCanBeTakenAgain) {
  QVRSysFastMutexLock lock;
  {
    QVRSysFastMutexLock::LockGuard guard(lock);
    guard.release();
    EXPECT_TRUE(isFree(lock));
    guard.acquire();
    EXPECT_TRUE(guard.isAcquired());
    EXPECT_FALSE(isFree(lock));
  }
  EXPECT_TRUE(isFree(lock));
}

TEST(QVRSysFastMutexLockTest, UnlockGuardLetsGoForItsScope) {
  QVRSysFastMutexLock lock;
  lock.acquire();
  {
    const QVRSysFastMutexLock::UnlockGuard guard(lock);
    EXPECT_FALSE(guard.isAcquired());
    EXPECT_TRUE(isFree(lock));
  }
  EXPECT_FALSE(isFree(lock));
  lock.release();
  EXPECT_TRUE(isFree(lock));
}

TEST(QVRSysFastMutexLockTest, UnlockGuardTakenBackEarlyDoesNothingMore) {
  QVRSysFastMutexLock lock;
  lock.acquire();
  {
    QVRSysFastMutexLock::UnlockGuard guard(lock);
    guard.acquire();
    guard.acquire();
    EXPECT_TRUE(guard.isAcquired());
    EXPECT_FALSE(isFree(lock));
  }
  lock.release();
  EXPECT_TRUE(isFree(lock)) << "taken back once, not twice";
}

TEST(QVRSysFastMutexLockTest, UnlockGuardCanLetGoAgain) {
  QVRSysFastMutexLock lock;
  lock.acquire();
  {
    QVRSysFastMutexLock::UnlockGuard guard(lock);
    guard.acquire();
    guard.release();
    guard.release();
    EXPECT_FALSE(guard.isAcquired());
    EXPECT_TRUE(isFree(lock));
  }
  EXPECT_FALSE(isFree(lock));
  lock.release();
}

}  // namespace
