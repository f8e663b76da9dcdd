#include "QVRRecursiveLock.h"

#include "QVRSystem/internal/QVRAtomic.h"
#include "QVRSystem/internal/QVRThreadState.h"

namespace qvr::internal {

void RecursiveLock::acquireSlowly(RecursiveLockStorage& storage) noexcept {
  RecursiveLock lock(storage);
  const LockWait wait(storage[0]);
  // Whoever has slept takes the lock as contended: others may sleep still.
  while (lock.word().exchange(kContended, std::memory_order_acquire) != kFree) {
    const LockSleep sleep;
    waitWhile(storage[0], kContended);
  }
  lock.holder().store(currentThreadId(), std::memory_order_relaxed);
}

bool RecursiveLock::tryAcquireSlowly(RecursiveLockStorage& storage) noexcept {
  if (knownThreadId() != kUnknownThreadId) return false;
  currentThreadId();
  return RecursiveLock(storage).takeFree();
}

void RecursiveLock::releaseContended(RecursiveLockStorage& storage) noexcept {
  // Until a waiter is awake: nobody else wakes those of a lock that is free.
  const ShortSection section;
  // From the exchange on the lock may be taken, given back and destroyed by
  // others: waking needs its address only.
  std::uint32_t* const word = &storage[0];
  if (AtomicWord(*word).exchange(kFree, std::memory_order_release) == kContended) wakeOne(word);
}

void RecursiveLock::reset() noexcept {
  // Atomic stores, which stay where they are also in a destructor whose object
  // nobody seems to look at afterwards.
  depth().store(0, std::memory_order_relaxed);
  holder().store(kNobody, std::memory_order_relaxed);
  word().store(kFree, std::memory_order_release);
}

void RecursiveLock::restamp(std::uint32_t from, std::uint32_t to) noexcept {
  if (holder().load(std::memory_order_relaxed) == from) {
    holder().store(to, std::memory_order_relaxed);
  }
}

}  // namespace qvr::internal
