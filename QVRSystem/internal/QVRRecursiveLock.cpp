#include "QVRSystem/internal/QVRRecursiveLock.h"

namespace qvr::internal {

bool RecursiveLock::tryAcquire() noexcept {
  const std::uint32_t self = currentThreadId();
  if (takeFree(self)) return true;
  if (holderOf(AtomicWord(word_).load(std::memory_order_relaxed)) != self) return false;
  ++depth_;
  return true;
}

void RecursiveLock::acquireSlowly(std::uint32_t self) noexcept {
  const AtomicWord word(word_);
  std::uint32_t seen = word.load(std::memory_order_relaxed);
  if (holderOf(seen) == self) {
    ++depth_;
    return;
  }
  // Whoever has slept takes the lock with the bit set: others may sleep still.
  while (!takeFree(self | kContended)) {
    seen = word.load(std::memory_order_relaxed);
    if (seen == kFree) continue;
    const std::uint32_t contended = seen | kContended;
    if (seen != contended &&
        !word.compare_exchange_weak(seen, contended, std::memory_order_relaxed)) {
      continue;
    }
    waitWhile(word_, contended);
  }
}

void RecursiveLock::reset() noexcept {
  // Atomic stores, which stay where they are also in a destructor whose object
  // nobody seems to look at afterwards.
  AtomicWord(depth_).store(0, std::memory_order_relaxed);
  AtomicWord(word_).store(kFree, std::memory_order_release);
}

void RecursiveLock::restamp(std::uint32_t from, std::uint32_t to) noexcept {
  const AtomicWord word(word_);
  const std::uint32_t seen = word.load(std::memory_order_relaxed);
  if (holderOf(seen) == from) word.store(to | (seen & kContended), std::memory_order_relaxed);
}

}  // namespace qvr::internal
