// The recursive lock inside the process, behind the interface of locks.
#include "QVRSysCriticalSection.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <new>
#include <thread>

#include "QVRSysLockGuard.h"
#include "QVRSysUnlockGuard.h"
#include "support/EndingThreads.h"
#include "support/ForkedChild.h"
#include "support/LockStateMachine.h"
#include "support/MutualExclusion.h"

namespace {

/// A critical section whose protected operations a test can call.
struct Probe : QVRSysCriticalSection {
  using QVRSysCriticalSection::finalize;
  using QVRSysCriticalSection::initialize;
  using QVRSysCriticalSection::QVRSysCriticalSection;
};

/// Whether nobody holds it: the native lock is two words of zero then.
bool isFree(const QVRSysCriticalSection& lock) {
  constexpr qvr::internal::RecursiveLockStorage kFree = {};
  return std::memcmp(lock.getNativeLock(), kFree, sizeof kFree) == 0;
}

TEST(QVRSysCriticalSectionTest, HeldUntilEveryHoldIsGivenBack) {
  for (const bool recursive : {true, false}) {
    QVRSysCriticalSection lock(recursive);
    expectHeldUntilEveryHoldIsGivenBack(lock);
    EXPECT_TRUE(isFree(lock));
  }
}

TEST(QVRSysCriticalSectionTest, ReleaseWithoutAHoldChangesNothingAndReportsNothing) {
  const AssertRecorder asserts;
  QVRSysCriticalSection lock;

  lock.release();
  EXPECT_TRUE(isFree(lock));
  lock.acquire();
  std::thread([&] { lock.release(); }).join();
  EXPECT_FALSE(isFree(lock)) << "another thread's release";
  lock.release();

  EXPECT_TRUE(isFree(lock));
  EXPECT_TRUE(asserts.all().empty());
}

TEST(QVRSysCriticalSectionTest, FollowsItsModel) {
  QVRSysCriticalSection lock;
  expectToFollowItsModel(lock, {});
  EXPECT_TRUE(isFree(lock));
}

TEST(QVRSysCriticalSectionTest, OneThreadAtATime) {
  QVRSysCriticalSection lock;
  expectMutualExclusion(lock, {.depth = 2});
  EXPECT_TRUE(isFree(lock));
}

TEST(QVRSysCriticalSectionTest, StaysHeldWhenItsHolderEnds) {
  const AssertRecorder asserts;
  for (const ThreadEnding& ending : threadEndings()) {
    Probe lock;

    ending.run([&] { lock.acquire(); });
    lock.release();
    EXPECT_FALSE(isFree(lock)) << ending.name;

    lock.initialize();
    EXPECT_TRUE(isFree(lock)) << ending.name;
  }
  EXPECT_TRUE(asserts.all().empty());
}

TEST(QVRSysCriticalSectionTest, FinalizeAndInitializeForgetEveryHold) {
  Probe lock;
  lock.acquire();
  lock.acquire();

  lock.finalize();
  lock.initialize();

  EXPECT_TRUE(isFree(lock));
  lock.release();
  EXPECT_TRUE(isFree(lock)) << "there is no hold to give back";
  expectMutualExclusion(lock, {.threads = {2}, .rounds = 1000});
}

TEST(QVRSysCriticalSectionTest, DestroyedWhileHeldItIsLetAloneByItsHolder) {
  const AssertRecorder asserts;
  for (const ThreadEnding& ending : threadEndings()) {
    alignas(QVRSysCriticalSection) unsigned char storage[sizeof(QVRSysCriticalSection)];
    auto* const lock = new (storage) QVRSysCriticalSection;

    ending.run([&] {
      lock->acquire();
      lock->acquire();
      std::thread([&] {
        lock->~QVRSysCriticalSection();
        std::memset(storage, 0xA5, sizeof storage);
      }).join();
    });

    for (const unsigned char byte : storage) EXPECT_EQ(byte, 0xA5) << ending.name;
  }
  EXPECT_TRUE(asserts.all().empty());
}

TEST(QVRSysCriticalSectionTest, StorageOfOneThatWasDestroyedWhileHeldCanBeUsedAgain) {
  alignas(QVRSysCriticalSection) unsigned char storage[sizeof(QVRSysCriticalSection)];
  auto* lock = new (storage) QVRSysCriticalSection;
  std::thread([&] { lock->acquire(); }).join();
  lock->~QVRSysCriticalSection();

  lock = new (storage) QVRSysCriticalSection;

  EXPECT_TRUE(isFree(*lock));
  lock->acquire();
  lock->release();
  lock->~QVRSysCriticalSection();
}

TEST(QVRSysCriticalSectionTest, NativeLockLiesWithinTheObject) {
  const QVRSysCriticalSection lock;
  const auto* const native = static_cast<const char*>(lock.getNativeLock());
  const auto* const object = reinterpret_cast<const char*>(&lock);

  EXPECT_GT(native, object);
  EXPECT_LT(native, object + sizeof lock);
}

TEST(QVRSysCriticalSectionTest, ForkedChildCanStartAfresh) {
  Probe lock;
  lock.acquire();

  const int status = exitStatusOfFork([&] {
    lock.initialize();
    lock.acquire();
    lock.release();
    return isFree(lock) ? 0 : 1;
  });

  EXPECT_EQ(status, 0);
  EXPECT_FALSE(isFree(lock));
  lock.release();
  EXPECT_TRUE(isFree(lock));
}

TEST(QVRSysCriticalSectionTest, GuardsHoldItAndLetItGo) {
  QVRSysCriticalSection lock;
  {
    const QVRSysLockGuard guard(lock);
    EXPECT_FALSE(isFree(lock));
    {
      const QVRSysUnlockGuard unguarded(lock);
      EXPECT_TRUE(isFree(lock));
    }
    EXPECT_FALSE(isFree(lock));
  }
  EXPECT_TRUE(isFree(lock));
}

}  // namespace
