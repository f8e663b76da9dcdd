// The in-process recursive lock beneath the fast mutex and the critical section.
#pragma once

#include <cstdint>

#include "QVRSystem/internal/QVRAtomic.h"
#include "QVRSystem/internal/QVRThreadState.h"

namespace qvr::internal {

/// What a recursive lock consists of. All zero is a valid, free lock.
using RecursiveLockStorage = std::uint32_t[2];

/// A recursive lock in somebody's storage, which it neither makes nor destroys.
///
/// The first word is the holder's thread identifier, 0 where there is none; its
/// top bit says that somebody may sleep on it. The second counts the holds
/// beyond the first and belongs to the holder. Identifiers of the kernel stay
/// below 2^22, so the bit is free.
///
/// @par Thread safety
/// Any thread may call any operation but restamp().
/// @par Cost
/// Without contention one atomic exchange to take the lock and one to give it
/// back, none for a nested hold; the kernel is entered only to sleep or to wake.
class RecursiveLock {
 public:
  explicit RecursiveLock(RecursiveLockStorage& storage) noexcept
      : word_(storage[0]), depth_(storage[1]) {}

  void acquire() noexcept {
    const std::uint32_t self = currentThreadId();
    if (!takeFree(self)) acquireSlowly(self);
  }

  /// @return whether the caller holds the lock now.
  bool tryAcquire() noexcept;

  /// Gives one hold back. Of a lock that the caller does not hold, changes nothing.
  /// @return whether the caller held it.
  bool release() noexcept {
    const AtomicWord word(word_);
    // Only this thread writes its own identifier here, so no order is needed.
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

  /// Makes the lock free, whoever held it.
  void reset() noexcept;

  /// Passes a lock of the thread `from` to the thread `to`, with all its holds:
  /// after a fork, one thread under another identifier.
  void restamp(std::uint32_t from, std::uint32_t to) noexcept;

 private:
  static constexpr std::uint32_t kFree = 0;
  static constexpr std::uint32_t kContended = 0x80000000;

  static std::uint32_t holderOf(std::uint32_t word) noexcept { return word & ~kContended; }

  // Acquire pairs with the exchange in release(): what the last holder wrote is
  // visible from here on.
  bool takeFree(std::uint32_t value) noexcept {
    std::uint32_t expected = kFree;
    return AtomicWord(word_).compare_exchange_strong(expected, value, std::memory_order_acquire,
                                                     std::memory_order_relaxed);
  }

  void acquireSlowly(std::uint32_t self) noexcept;

  std::uint32_t& word_;
  std::uint32_t& depth_;
};

}  // namespace qvr::internal
