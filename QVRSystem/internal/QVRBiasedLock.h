// A lock that costs no atomic operation while one thread uses it for a time.
#pragma once

#include <atomic>
#include <cstdint>

#include "QVRBiasedLockStorage.h"
#include "QVRSystem/internal/QVRAtomic.h"
#include "QVRSystem/internal/QVRBiasedThread.h"
#include "QVRSystem/internal/QVRThreadState.h"

namespace qvr::internal {

/// A lock in somebody's storage that is biased towards one thread, its owner: that one
/// says that it is inside, and then looks whether it is the owner still, with plain stores
/// and loads. From the one to the other is a turn of the thread.
///
/// | owner | that one takes | the others take |
/// |---|---|---|
/// | nobody | | the shared lock, and may become the owner |
/// | a thread | its bias | the shared lock, and end the bias |
///
/// A bias ends in one of two ways. An owner at work is asked to give it up, which it does
/// in a turn of its own. From any other it is revoked: whoever does so writes that there is
/// no owner, and then has the kernel put a barrier between any two instructions of every
/// running thread of the process. Either what the owner wrote before that barrier says
/// that it is inside, and is seen: then it is waited for. Or the owner looks after it, and
/// leaves again. What says that a thread is inside is the thread's own, so that one which
/// looks late disturbs no owner after it.
///
/// A bias is worth something only if the owner has many turns before another thread comes.
/// The first thread to take the lock gets it at once, and each next one as long as that
/// was so; otherwise one that has had the shared lock many times while no other had it.
///
/// The owner becomes another, or nobody, under the shared lock, apart from the owner that
/// gives it up. There is no bias where the system has no such barrier. A thread that ends is
/// outside; in the child of a fork the forking thread keeps its biases.
///
/// Whoever holds the lock takes no biased lock besides, this one included. Only inside the
/// shared lock, as a fork takes it, all may be taken.
///
/// @par Thread safety
/// Any thread may call any operation.
/// @par Cost
/// With the bias a handful of plain reads and writes; otherwise as RecursiveLock, and a
/// few reads. A bias that ends takes the other thread some microseconds. The first bias of a
/// process takes some milliseconds where threads are running already.
class BiasedLock {
 public:
  explicit BiasedLock(BiasedLockStorage& storage) noexcept : storage_(storage) {}

  /// What release() is given: the turn in which the lock is held, or kSharedHold.
  using Hold = std::uint32_t;
  static constexpr Hold kSharedHold = 0;  // turns are odd

  /// Waits until no other thread holds the lock, and holds it.
  Hold acquire() noexcept {
    if (canEnter()) [[likely]] {
      BiasedThread& self = *knownBiasedThread();
      const std::uint32_t turn = beginTurn(self);
      if (isStillOwner(self)) [[likely]]
        return turn;
      if (!endTurn(self, turn)) answer(storage_);
    }
    acquireShared(storage_);
    return kSharedHold;
  }

  void release(Hold hold) noexcept {
    if (hold == kSharedHold) {
      releaseShared(storage_);
    } else if (!endTurn(*knownBiasedThread(), hold)) [[unlikely]] {
      answer(storage_);
    }
  }

  // A hold by the bias, a short section, in parts: whose operation is but a few
  // instructions needs them without a frame, and so what is rare as calls at its end.

  /// Whether the caller is the owner.
  bool canEnter() const noexcept {
    return owner().load(std::memory_order_relaxed) == knownBiasedThread();
  }

  /// What was entered. Kept, since what was just written would be read again otherwise.
  struct Entry {
    BiasedThread& self;
    std::uint32_t outer;  // short sections
    std::uint32_t turn;
  };

  /// Where the caller can.
  Entry enter() noexcept {
    const std::uint32_t outer = beginShortSection();
    BiasedThread& self = *knownBiasedThread();
    return {self, outer, beginTurn(self)};
  }

  /// Whether what was entered holds the lock. Where not, only leave() is left to do.
  bool hasEntered(const Entry& entry) const noexcept { return isStillOwner(entry.self); }

  /// @return whether that was all; else answer() does the rest.
  bool tryLeave(const Entry& entry) noexcept {
    if (!endTurn(entry.self, entry.turn)) [[unlikely]]
      return false;
    endShortSection(entry.outer);
    return true;
  }

  void answer(std::uint32_t outer) noexcept {
    answer(storage_);
    endShortSection(outer);
  }

  void leave(std::uint32_t outer) noexcept {
    BiasedThread& self = *knownBiasedThread();
    if (!tryLeave({self, outer, lastTurn(self)})) answer(outer);
  }

  /// The part of the lock that a fork takes and gives back.
  RecursiveLock shared() const noexcept { return RecursiveLock(storage_.shared); }

  /// Ends another thread's bias and waits until that one is not inside by it. The caller
  /// holds the shared lock, and is alone as long as it does.
  void keepOthersOut() noexcept;

 private:
  friend struct BiasedLockTestAccess;

  /// What others await of a thread.
  enum Awaited : std::uint32_t {
    kAnswer = 1,  // that it gives a bias up
    kWakeUp = 2,  // that it ends its turn; they sleep
  };

  using Word = AtomicRef<std::uint32_t>;

  // Given the storage, not the object, which so need not be in memory.
  static void acquireShared(BiasedLockStorage& storage) noexcept;
  static void releaseShared(BiasedLockStorage& storage) noexcept;
  static void answer(BiasedLockStorage& storage) noexcept;
  static void sleepForTurn(BiasedThread& other, std::uint32_t turn) noexcept;

  // Only the thread itself counts its turns. @return the number of this one.
  static std::uint32_t beginTurn(BiasedThread& self) noexcept {
    const std::uint32_t turn = lastTurn(self) + 1;
    Word(self.turns).store(turn, std::memory_order_relaxed);
    return turn;
  }

  static std::uint32_t lastTurn(BiasedThread& self) noexcept {
    return Word(self.turns).load(std::memory_order_relaxed);
  }

  // In the turn that has begun.
  bool isStillOwner(BiasedThread& self) const noexcept {
    // In this order; the barrier in revoke() is the processor's part of it.
    std::atomic_signal_fence(std::memory_order_seq_cst);
    return owner().load(std::memory_order_relaxed) == &self;
  }

  /// @return whether nobody awaits anything.
  static bool endTurn(BiasedThread& self, std::uint32_t turn) noexcept {
    // Release pairs with the acquire of whoever waits for the end of the turn. Then in this
    // order, with the barrier in sleepForTurn(): either that one sees it, or is seen.
    Word(self.turns).store(turn + 1, std::memory_order_release);
    std::atomic_signal_fence(std::memory_order_seq_cst);
    return Word(self.awaited).load(std::memory_order_relaxed) == 0;
  }

  void takeShared() noexcept;
  bool endOthersBias() noexcept;
  bool ownerGivesUp(BiasedThread& other) noexcept;
  static bool isAtWork(BiasedThread& other) noexcept;
  void ask(BiasedThread& other) noexcept;
  void revoke(BiasedThread& other) noexcept;
  bool isAlone() noexcept;
  void giveUp(BiasedThread& self) noexcept;
  void weigh(BiasedThread& other) noexcept;
  void considerBias() noexcept;
  void becomeOwner(BiasedThread& self) noexcept;

  AtomicRef<BiasedThread*> owner() const noexcept {
    return AtomicRef<BiasedThread*>(storage_.owner);
  }
  Word isWanted() const noexcept { return Word(storage_.isWanted); }

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
