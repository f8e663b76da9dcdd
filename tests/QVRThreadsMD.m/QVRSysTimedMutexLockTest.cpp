// Trying a fast mutex.
#include "QVRSysTimedMutexLock.h"

#include <gtest/gtest.h>

#include <cstring>
#include <new>
#include <thread>
#include <type_traits>

#include "support/LockStateMachine.h"

namespace {

bool triedByAnotherThread(QVRSysITimedMutexLock& lock) {
  bool taken = false;
  std::thread([&] { taken = lock.tryAcquire(); }).join();
  return taken;
}

static_assert(std::is_base_of_v<QVRSysFastMutexLock, QVRSysTimedMutexLock>);
static_assert(!std::has_virtual_destructor_v<QVRSysITimedMutexLock>);

TEST(QVRSysTimedMutexLockTest, TryingAHeldLockFailsAtOnce) {
  QVRSysTimedMutexLock lock;
  lock.acquire();

  EXPECT_FALSE(triedByAnotherThread(lock));
  lock.release();
  EXPECT_TRUE(triedByAnotherThread(lock));
}

TEST(QVRSysTimedMutexLockTest, TheHolderHoldsItOnceMore) {
  QVRSysTimedMutexLock lock;
  EXPECT_TRUE(lock.tryAcquire());
  EXPECT_TRUE(lock.tryAcquire());

  lock.release();
  EXPECT_FALSE(triedByAnotherThread(lock));
  lock.release();
  EXPECT_TRUE(triedByAnotherThread(lock));
}

TEST(QVRSysTimedMutexLockTest, FollowsItsModel) {
  QVRSysTimedMutexLock lock;
  expectToFollowItsModel(lock, {});
}

TEST(QVRSysTimedMutexLockTest, TryingDoesNotInitialise) {
  alignas(QVRSysTimedMutexLock) unsigned char storage[sizeof(QVRSysTimedMutexLock)];
  auto* lock = new (storage) QVRSysTimedMutexLock;
  const auto stateOf = [&] {
    std::uint32_t state;
    std::memcpy(&state, storage + sizeof(void*), sizeof state);
    return state;
  };
  EXPECT_EQ(stateOf(), 0xFACE0001u);
  const std::uint32_t notInitialised = 0;
  std::memcpy(storage + sizeof(void*), &notInitialised, sizeof notInitialised);

  EXPECT_TRUE(lock->tryAcquire());
  EXPECT_EQ(stateOf(), notInitialised);
  lock->release();
  EXPECT_EQ(stateOf(), 0xFACE0001u);
  lock->~QVRSysTimedMutexLock();
}

}  // namespace
