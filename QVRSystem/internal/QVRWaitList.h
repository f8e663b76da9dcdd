// Threads that wait to be woken, in the order in which they came.
#pragma once

#include <cstdint>
#include <utility>

#include "QVRSystem/internal/QVRAtomic.h"
#include "QVRSystem/internal/QVRDeferredWake.h"

namespace qvr::internal {

/// A waiting thread; lives on its stack while it waits.
class Waiter {
 public:
  Waiter() = default;
  Waiter(const Waiter&) = delete;
  Waiter& operator=(const Waiter&) = delete;

  /// Sleeps until woken; not before.
  void sleep() noexcept {
    const AtomicWord state(state_);
    // Pairs with the store in wake(): what was written before it is visible here.
    while (state.load(std::memory_order_acquire) == kWaiting) waitWhile(state_, kWaiting);
  }

  /// For one that leaves its list and finds that it was taken off: until the waker, which is
  /// in a short section, does not need it any more. The wake-up itself may be deferred for
  /// long.
  void awaitWaker() noexcept {
    while (AtomicWord(state_).load(std::memory_order_acquire) == kWaiting) yield();
  }

  /// Ends the wait of one that is on no list any more, and may be gone at once.
  void wake() noexcept { wakeOne(endWait()); }

  /// As wake(), but the thread goes on sleeping until the caller has given back the
  /// mutex that it holds.
  void wakeBehindMutex() noexcept { deferWake(endWait()); }

 private:
  friend class WaitList;

  std::uint32_t* endWait() noexcept {
    std::uint32_t* const address = &state_;
    AtomicWord(state_).store(kWoken, std::memory_order_release);
    return address;
  }

  static constexpr std::uint32_t kWaiting = 0;
  static constexpr std::uint32_t kWoken = 1;

  std::uint32_t state_ = kWaiting;
  Waiter* next_ = nullptr;
};

/// What a list of waiting threads consists of: the one that came last, linked to
/// the first; null where nobody waits.
using WaitListStorage = Waiter*;

/// A list of waiting threads in somebody's storage.
///
/// @par Thread safety
/// The owner of the storage guards every operation but isEmpty() by a lock. Threads
/// are taken off under it and woken once it is given back.
class WaitList {
 public:
  explicit WaitList(WaitListStorage& last) noexcept : last_(last) {}

  /// Without the owner's lock a look at some moment: a thread is seen that joined
  /// before it gave back a mutex that the caller took since.
  bool isEmpty() const noexcept {
    // No order: nothing is read through the pointer, and a join that happened before
    // is seen in any.
    return last().load(std::memory_order_relaxed) == nullptr;
  }

  void append(Waiter& waiter) noexcept {
    Waiter* const before = last().load(std::memory_order_relaxed);
    waiter.next_ = before == nullptr ? &waiter : std::exchange(before->next_, &waiter);
    last().store(&waiter, std::memory_order_relaxed);
  }

  /// @return the thread that waited longest, taken off the list, for wake(); null
  ///   where there is none.
  Waiter* takeFirst() noexcept {
    Waiter* const latest = last().load(std::memory_order_relaxed);
    if (latest == nullptr) return nullptr;
    Waiter* const first = std::exchange(latest->next_, latest->next_->next_);
    if (first == latest) last().store(nullptr, std::memory_order_relaxed);
    return first;
  }

  /// Takes the thread off the list. @return whether it was there. Linear in its length.
  bool remove(Waiter& waiter) noexcept {
    Waiter* const latest = last().load(std::memory_order_relaxed);
    if (latest == nullptr) return false;
    Waiter* before = latest;
    while (before->next_ != &waiter) {
      before = before->next_;
      if (before == latest) return false;
    }
    before->next_ = waiter.next_;
    if (latest == &waiter) {
      last().store(before == &waiter ? nullptr : before, std::memory_order_relaxed);
    }
    return true;
  }

  /// @return all of them, taken off the list, for wakeAll().
  Waiter* takeAll() noexcept {
    Waiter* const latest = last().exchange(nullptr, std::memory_order_relaxed);
    return latest == nullptr ? nullptr : std::exchange(latest->next_, nullptr);
  }

  /// Wakes what takeAll() gave, the longest waiting first.
  static void wakeAll(Waiter* first) noexcept {
    while (first != nullptr) std::exchange(first, first->next_)->wake();
  }

 private:
  AtomicRef<WaitListStorage> last() const noexcept { return AtomicRef<WaitListStorage>(last_); }

  WaitListStorage& last_;
};

}  // namespace qvr::internal
