// A recursive lock that costs no atomic operation while one thread uses it alone.
#pragma once

#include <atomic>
#include <cstdint>

#include "QVRBiasedLockStorage.h"
#include "QVRSystem/internal/QVRAtomic.h"
#include "QVRSystem/internal/QVRThreadState.h"

namespace qvr::internal {

/// A recursive lock in somebody's storage that is biased towards the first thread to
/// take it, its owner: that one says that it is inside, and then looks whether the
/// bias still holds, with plain stores and loads.
///
/// | use | the owner takes | the others take |
/// |---|---|---|
/// | unused | the shared lock, and becomes the owner | |
/// | biased | its bias | the shared lock, and revoke the bias |
/// | shared | the shared lock | the shared lock |
///
/// Whoever revokes the bias writes "shared" and then has the kernel put a barrier
/// between any two instructions of every running thread of the process. Either what
/// the owner wrote before that barrier says that it is inside, and is seen: then it
/// is waited for. Or the owner looks at the use after it, finds it shared, and leaves
/// again. A bias that was revoked never returns: a thread that was about to look could
/// not tell the new one from the old. What the owner takes inside a hold by its bias
/// goes by the bias too, even if that has been revoked meanwhile; so does what it takes
/// inside the shared hold with which it became the owner, where nobody can revoke it.
///
/// The use and the owner change under the shared lock. There is no bias where the
/// system has no such barrier. An owner that has ended is outside, and its serial is
/// given to no other thread; in the child of a fork the forking thread keeps it.
///
/// @par Thread safety
/// Any thread may call any operation.
/// @par Cost
/// With the bias a handful of plain reads and writes; afterwards as RecursiveLock, and
/// two reads. Revoking takes some microseconds, once. The first bias of a process takes
/// some milliseconds where threads are running already.
class BiasedLock {
 public:
  explicit BiasedLock(BiasedLockStorage& storage) noexcept : storage_(storage) {}

  /// What release() is given: how deep the hold is by the bias, or kSharedHold.
  using Hold = std::uint32_t;
  static constexpr Hold kSharedHold = 0;

  /// Waits until no other thread holds the lock, and holds it once more.
  Hold acquire() noexcept {
    if (isOwn()) [[likely]] {
      const Hold hold = addHold();
      // In this order; the barrier in revoke() is the processor's part of it.
      std::atomic_signal_fence(std::memory_order_seq_cst);
      if (use().load(std::memory_order_relaxed) == kBiased || hold != 1) [[likely]]
        return hold;
      giveBack(hold);
    }
    acquireShared(storage_);
    return kSharedHold;
  }

  /// Gives the caller's latest hold back.
  void release(Hold hold) noexcept {
    if (hold != kSharedHold) [[likely]] {
      giveBack(hold);
    } else {
      releaseShared(storage_);
    }
  }

  // The owner's outermost hold by the bias, a short section, in parts: whose operation
  // is but a few instructions needs them without a frame, and so what is rare as calls at
  // its end.

  /// Whether the caller is the owner and holds nothing by the bias.
  bool canEnter() const noexcept {
    return isOwn() && inside().load(std::memory_order_relaxed) == 0;
  }

  /// Where the caller can. @return what tryLeave() is given.
  std::uint32_t enter() noexcept {
    const std::uint32_t outer = beginShortSection();
    inside().store(1, std::memory_order_relaxed);
    return outer;
  }

  /// Whether what was entered holds the lock. Where not, only leave() is left to do.
  bool hasEntered() const noexcept {
    std::atomic_signal_fence(std::memory_order_seq_cst);  // as in acquire()
    return use().load(std::memory_order_relaxed) == kBiased;
  }

  /// @return whether that was all; else leave() does the rest.
  bool tryLeave(std::uint32_t outer) noexcept {
    inside().store(0, std::memory_order_release);
    std::atomic_signal_fence(std::memory_order_seq_cst);  // as in giveBack()
    if (use().load(std::memory_order_relaxed) != kBiased) return false;
    endShortSection(outer);
    return true;
  }

  void leave(std::uint32_t outer) noexcept {
    if (tryLeave(outer)) return;
    wakeWaiters(storage_);
    endShortSection(outer);
  }

  /// The part of the lock that a fork takes and gives back.
  RecursiveLock shared() const noexcept { return RecursiveLock(storage_.shared); }

  /// Ends another thread's bias and waits until that one is not inside by it. The caller
  /// holds the shared lock, and is alone as long as it does.
  void keepOthersOut() noexcept;

  /// In the child of a fork before which others were kept out: takes back what they said
  /// that they are inside. The caller holds the shared lock.
  void forgetOthers() noexcept;

 private:
  enum Use : std::uint32_t { kUnused, kBiased, kShared };

  using Word = AtomicRef<std::uint32_t>;

  // Given the storage, not the object, which so need not be in memory.
  static void acquireShared(BiasedLockStorage& storage) noexcept;
  static void releaseShared(BiasedLockStorage& storage) noexcept;
  static void wakeWaiters(BiasedLockStorage& storage) noexcept;

  bool isOwn() const noexcept {
    return owner().load(std::memory_order_relaxed) == knownThreadSerial();
  }

  // For the owner, which alone writes that it is inside.
  Hold addHold() noexcept {
    const Hold hold = inside().load(std::memory_order_relaxed) + 1;
    inside().store(hold, std::memory_order_relaxed);
    return hold;
  }

  void giveBack(Hold hold) noexcept {
    // Release pairs with the acquire of whoever waits for the owner. Then in this order,
    // as in acquire(): either the waiter sees it, or is seen and woken.
    inside().store(hold - 1, std::memory_order_release);
    std::atomic_signal_fence(std::memory_order_seq_cst);
    if (use().load(std::memory_order_relaxed) != kBiased) [[unlikely]]
      wakeWaiters(storage_);
  }

  void becomeOwner() noexcept;
  void revoke() noexcept;
  void waitForOwner() noexcept;
  void leaveForGood() noexcept;

  AtomicRef<std::uint64_t> owner() const noexcept {
    return AtomicRef<std::uint64_t>(storage_.owner);
  }
  Word use() const noexcept { return Word(storage_.use); }
  Word inside() const noexcept { return Word(storage_.inside); }

  BiasedLockStorage& storage_;
};

/// Holds a biased lock for its scope.
class QVR_SCOPED_CAPABILITY BiasedLockGuard {
 public:
  explicit BiasedLockGuard(BiasedLockStorage& storage) noexcept QVR_ACQUIRE(storage)
      : lock_(storage), hold_(lock_.acquire()) {}
  ~BiasedLockGuard() QVR_RELEASE() { lock_.release(hold_); }

  BiasedLockGuard(const BiasedLockGuard&) = delete;
  BiasedLockGuard& operator=(const BiasedLockGuard&) = delete;

 private:
  BiasedLock lock_;
  const BiasedLock::Hold hold_;
};

}  // namespace qvr::internal
