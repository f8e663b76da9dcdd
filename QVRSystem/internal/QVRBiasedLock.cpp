#include "QVRSystem/internal/QVRBiasedLock.h"

#include "QVRSystem/platform/QVRPlatformThread.h"

namespace qvr::internal {

namespace {

void orderAllThreads() noexcept {
  if (platform::barrierOfAllThreads() == 0) return;
  // Refused though it was granted, as by a filter of system calls that came later.
  // Stores leave a processor within microseconds, whatever their thread does.
  constexpr std::uint64_t kLongAfterwardsMs = 20;
  int before = 0;
  platform::holdCancellation(before);
  platform::sleepFor(kLongAfterwardsMs);
  platform::restoreCancellation(before);
}

}  // namespace

void BiasedLock::acquireShared(BiasedLockStorage& storage) noexcept {
  BiasedLock lock(storage);
  lock.shared().acquire();
  if (lock.use().load(std::memory_order_relaxed) == kUnused) return lock.becomeOwner();
  if (lock.isOwn()) return lock.leaveForGood();
  lock.revoke();
  // Not with the shared lock held: it would stay held if this thread were ended asleep.
  while (lock.inside().load(std::memory_order_acquire) != 0) {
    lock.shared().release();
    lock.waitForOwner();
    lock.shared().acquire();
  }
}

void BiasedLock::releaseShared(BiasedLockStorage& storage) noexcept {
  RecursiveLock(storage.shared).release();
}

void BiasedLock::keepOthersOut() noexcept {
  if (isOwn()) return;
  revoke();
  waitForOwner();
}

// None of them holds the lock. But an owner says that it is inside before it finds that its
// bias is revoked, and in the copy of that moment nobody takes it back.
void BiasedLock::forgetOthers() noexcept {
  if (isOwn()) return;
  inside().store(0, std::memory_order_relaxed);
  owner().store(BiasedLockStorage::kNobody, std::memory_order_relaxed);
}

void BiasedLock::becomeOwner() noexcept {
  if (platform::prepareBarrierOfAllThreads() == 0) {
    owner().store(currentThreadSerial(), std::memory_order_relaxed);
    use().store(kBiased, std::memory_order_relaxed);
  } else {
    use().store(kShared, std::memory_order_relaxed);
  }
}

// Whoever finds the use shared finds the barrier past: it is called with the shared lock held.
void BiasedLock::revoke() noexcept {
  if (use().load(std::memory_order_relaxed) != kBiased) return;
  use().store(kShared, std::memory_order_relaxed);
  orderAllThreads();
}

void BiasedLock::waitForOwner() noexcept {
  while (const std::uint32_t holds = inside().load(std::memory_order_acquire)) {
    waitWhile(storage_.inside, holds);
  }
}

// An owner whose bias was revoked need not look for it any more.
void BiasedLock::leaveForGood() noexcept {
  owner().store(BiasedLockStorage::kNobody, std::memory_order_relaxed);
}

// All of them, once in the life of a lock: one alone might be stopped before it wakes the next.
void BiasedLock::wakeWaiters(BiasedLockStorage& storage) noexcept { wakeAll(&storage.inside); }

}  // namespace qvr::internal
