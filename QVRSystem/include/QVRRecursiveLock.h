// The in-process recursive lock beneath the fast mutex and the critical section.
//
// Public for the sake of its few inline instructions: a call for each of them would
// cost as much again.
#pragma once

#include <cstdint>

#include "QVRAtomicAccess.h"
#include "QVRSystemExport.h"
#include "QVRThreadIdAccess.h"

namespace qvr::internal {

/// What a recursive lock consists of. All zero is a valid, free lock.
using RecursiveLockStorage = std::uint32_t[3];

/// A recursive lock in somebody's storage, which it neither makes nor destroys.
///
/// The first word says whether the lock is held and whether somebody may sleep on
/// it. The second counts the holds beyond the first and belongs to the holder. The
/// third is the holder's thread identifier, 0 where there is none: apart from the
/// first, since reading a word delays the exchange that follows on it.
///
/// @par Thread safety
/// Any thread may call any operation but restamp().
/// @par Cost
/// Without contention one atomic exchange to take the lock and one to give it
/// back, none for a nested hold; the kernel is entered only to sleep or to wake.
class QVRSYSTEM_API RecursiveLock {
 public:
  explicit RecursiveLock(RecursiveLockStorage& storage) noexcept : storage_(storage) {}

  void acquire() noexcept {
    if (isNested() || takeFree()) return;
    acquireSlowly(storage_);
  }

  /// @return whether the caller holds the lock now.
  bool tryAcquire() noexcept { return isNested() || takeFree() || tryAcquireSlowly(storage_); }

  /// Gives one hold back. Of a lock that the caller does not hold, changes nothing.
  /// @return whether the caller held it.
  bool release() noexcept {
    if (holder().load(std::memory_order_relaxed) != knownThreadId()) return false;
    const std::uint32_t more = depth().load(std::memory_order_relaxed);
    if (more != 0) {
      depth().store(more - 1, std::memory_order_relaxed);
    } else {
      giveBack();
    }
    return true;
  }

  /// Makes the lock free, whoever held it.
  void reset() noexcept;

  /// Passes a lock of the thread `from` to the thread `to`, with all its holds:
  /// after a fork, one thread under another identifier.
  void restamp(std::uint32_t from, std::uint32_t to) noexcept;

 private:
  using Word = AtomicRef<std::uint32_t>;

  static constexpr std::uint32_t kFree = 0;
  static constexpr std::uint32_t kHeld = 1;
  static constexpr std::uint32_t kContended = 2;  // held, and somebody may sleep
  static constexpr std::uint32_t kNobody = 0;

  // Given the storage, not the object, which so need not be in memory.
  static void acquireSlowly(RecursiveLockStorage& storage) noexcept;
  static bool tryAcquireSlowly(RecursiveLockStorage& storage) noexcept;
  static void releaseContended(RecursiveLockStorage& storage) noexcept;

  // Only the calling thread writes its own identifier, so looking for it needs no order.
  bool isNested() noexcept {
    if (holder().load(std::memory_order_relaxed) != knownThreadId()) return false;
    depth().store(depth().load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    return true;
  }

  // Acquire pairs with the release of the last holder: what it wrote is visible
  // from here on. A thread that has not asked for its identifier yet goes the slow way.
  bool takeFree() noexcept {
    const std::uint32_t self = knownThreadId();
    std::uint32_t seen = kFree;
    if (self == kUnknownThreadId ||
        !word().compare_exchange_strong(seen, kHeld, std::memory_order_acquire,
                                        std::memory_order_relaxed)) {
      return false;
    }
    holder().store(self, std::memory_order_relaxed);
    return true;
  }

  void giveBack() noexcept {
    holder().store(kNobody, std::memory_order_relaxed);
    std::uint32_t seen = kHeld;
    if (!word().compare_exchange_strong(seen, kFree, std::memory_order_release,
                                        std::memory_order_relaxed)) {
      releaseContended(storage_);
    }
  }

  Word word() const noexcept { return Word(storage_[0]); }
  // Atomic only so that it is added to in a register: the next to read it waits
  // longer for an addition in memory.
  Word depth() const noexcept { return Word(storage_[1]); }
  Word holder() const noexcept { return Word(storage_[2]); }

  RecursiveLockStorage& storage_;
};

}  // namespace qvr::internal
