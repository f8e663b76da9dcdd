#include "QVRSystem/internal/QVRRecursiveLock.h"

#include "QVRSystem/internal/QVRAtomic.h"
#include "QVRSystem/internal/QVRThreadState.h"

namespace qvr::internal {

namespace {

constexpr std::uint32_t kFree = 0;
constexpr std::uint32_t kContended = 0x80000000;

std::uint32_t holderOf(std::uint32_t word) { return word & ~kContended; }

// Takes a free lock. Acquire pairs with the exchange in release(): what the last
// holder wrote is visible from here on.
bool takeFree(AtomicWord word, std::uint32_t value) {
  std::uint32_t expected = kFree;
  return word.compare_exchange_strong(expected, value, std::memory_order_acquire,
                                      std::memory_order_relaxed);
}

}  // namespace

void RecursiveLock::acquire() noexcept {
  const std::uint32_t self = currentThreadId();
  if (takeFree(AtomicWord(word_), self)) return;
  acquireSlowly(self);
}

bool RecursiveLock::tryAcquire() noexcept {
  const std::uint32_t self = currentThreadId();
  const AtomicWord word(word_);
  if (takeFree(word, self)) return true;
  if (holderOf(word.load(std::memory_order_relaxed)) != self) return false;
  ++depth_;
  return true;
}

void RecursiveLock::acquireSlowly(std::uint32_t self) noexcept {
  const AtomicWord word(word_);
  // Only this thread writes its own identifier here, so no order is needed.
  std::uint32_t seen = word.load(std::memory_order_relaxed);
  if (holderOf(seen) == self) {
    ++depth_;
    return;
  }
  // Whoever has slept takes the lock with the bit set: others may sleep still.
  while (!takeFree(word, self | kContended)) {
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

bool RecursiveLock::release() noexcept {
  const AtomicWord word(word_);
  if (holderOf(word.load(std::memory_order_relaxed)) != currentThreadId()) return false;
  if (depth_ != 0) {
    --depth_;
    return true;
  }
  // From the exchange on the lock may be taken, given back and destroyed by
  // others: waking needs its address only.
  std::uint32_t* const address = &word_;
  if ((word.exchange(kFree, std::memory_order_release) & kContended) != 0) wakeOne(address);
  return true;
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
