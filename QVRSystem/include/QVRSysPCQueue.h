// A queue between producers and consumers.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <type_traits>
#include <utility>

#include "QVRAtomicAccess.h"
#include "QVRChunkedQueue.h"
#include "QVRSysLockGuard.h"
#include "QVRSysPCBuffer.h"
#include "QVRThreadAnnotations.h"

/// A first-in, first-out buffer of items that producers put and consumers get.
///
/// @code
/// QVRSysPCQueue<Order> orders(1024);
/// // producers: a full queue has them wait
/// if (!orders.put(std::move(order))) return;  // stopped
/// // consumers: an empty one has them wait
/// for (Order order; orders.get(order);) process(order);
/// @endcode
///
/// Where an item throws while it is copied or moved, count and order of the queue are what
/// they were, and whoever else waits can have the item or its room. Items whose moves do not
/// throw are copied, assigned and destroyed with the lock given back, but for what clear()
/// removes; with all others that happens under the lock, and they must not use the queue
/// meanwhile. Such an item is copied rather than moved wherever it can be.
///
/// @tparam T an object type that can be moved or copied, and assigned likewise for get().
/// @par Thread safety
/// As QVRSysPCBuffer. Threads that wait are served in the order in which they came, but one
/// that has not begun to wait may be faster.
/// @par Cost
/// One hold of the lock for a put or get, whatever the number of items; memory is allocated
/// for some dozens of items at a time. A thread gives way to others a few times before it
/// sleeps, and a wake-up is given where somebody sleeps only.
template <class T>
class QVRSysPCQueue : public QVRSysPCBuffer {
 public:
  /// @param capacity 0 for no limit; then a put never waits.
  /// @throws QVREInternalError as QVRSysMutexLock does.
  explicit QVRSysPCQueue(std::size_t capacity = 0) : QVRSysPCBuffer(capacity) {}

  /// Waits for room, then adds the item behind the others.
  /// @return whether it did: not where the queue is stopped, or is while it waits; the item
  ///   is left alone then.
  /// @throws std::bad_alloc; what copying or moving the item throws.
  bool put(const T& item) {
    if constexpr (kMovesSafely) {
      return put(T(item));
    } else {
      return add(item);
    }
  }
  bool put(T&& item) { return add(std::move_if_noexcept(item)); }

  /// Waits for an item and gives the first one.
  /// @return whether it did: not where the queue is stopped, or is while it waits; `item` is
  ///   left alone then.
  /// @throws what copying, moving or assigning the item throws.
  bool get(T& item) {
    if constexpr (kMovesSafely) {
      std::optional<T> taken;
      giveWayWhileEmpty();
      QVRSysLockGuard guard(monitor());
      if (!awaitItem()) return false;
      taken.emplace(std::move(_first()));
      _removeFirst();
      guard.release();
      item = std::move(*taken);
    } else {
      giveWayWhileEmpty();
      const QVRSysLockGuard guard(monitor());
      if (!awaitItem()) return false;
      assignFirst(item);
      _removeFirst();
    }
    return true;
  }

  /// Has every put and get return `false`, those that wait included, until restarted. The
  /// items stay.
  void stop() {
    const QVRSysLockGuard guard(monitor());
    if (_isStopped()) return;
    ++run_;
    itemsAvailable_.signalAll();
    roomAvailable_.signalAll();
  }

  /// Ends the stop; the items that are there can be had again.
  void restart() {
    const QVRSysLockGuard guard(monitor());
    if (_isStopped()) ++run_;
  }

  bool hasItems() const override {
    const QVRSysLockGuard guard(monitor());
    return !_isStopped() && _count() != 0;
  }

  bool hasRoom() const override {
    const QVRSysLockGuard guard(monitor());
    return !_isStopped() && !isFull();
  }

  std::size_t count() const override {
    const QVRSysLockGuard guard(monitor());
    return _count();
  }

  /// An item whose destructor throws is gone like the others; the last exception comes
  /// through.
  void clear() override {
    const QVRSysLockGuard guard(monitor());
    setCount(0);
    roomAvailable_.signal();  // who waits does not run before the lock is given back
    const Items removed(std::move(items_));
  }

 protected:
  // The steps of a get, for derived classes with more to do under one hold of the lock.

  /// For a thread that is about to get an item, without the lock.
  void giveWayWhileEmpty() const noexcept { giveWayWhile(count_, 0); }

  bool _isStopped() const noexcept QVR_REQUIRES(monitor()) { return run_ % 2 != 0; }

  /// Waits for an item until `givesUp()`, asked before each wait, says so.
  /// @return whether there is one.
  template <class Predicate>
  bool _awaitItem(Predicate givesUp) QVR_REQUIRES(monitor()) {
    while (!givesUp()) {
      if (_count() != 0) return true;
      itemsAvailable_.wait();
    }
    return false;
  }

  /// There must be one.
  T& _first() noexcept QVR_REQUIRES(monitor()) { return items_.front(); }

  void _removeFirst() QVR_REQUIRES(monitor()) {
    setCount(_count() - 1);
    roomAvailable_.signal();
    items_.removeFront();
  }

 private:
  using Items = qvr::internal::ChunkedQueue<T>;

  static constexpr bool kMovesSafely = std::is_nothrow_move_constructible_v<T> &&
                                       std::is_nothrow_move_assignable_v<T> &&
                                       std::is_nothrow_destructible_v<T>;

  std::size_t _count() const noexcept { return count_.load(std::memory_order_relaxed); }
  void setCount(std::size_t count) noexcept { count_.store(count, std::memory_order_relaxed); }

  bool isFull() const noexcept QVR_REQUIRES(monitor()) {
    return capacity_ != 0 && _count() >= capacity_;
  }

  bool isStoppedSince(std::uint64_t run) const noexcept QVR_REQUIRES(monitor()) {
    return _isStopped() || run_ != run;
  }

  bool awaitRoom() QVR_REQUIRES(monitor()) {
    const std::uint64_t run = run_;
    while (!isStoppedSince(run)) {
      if (!isFull()) return true;
      roomAvailable_.wait();
    }
    return false;
  }

  bool awaitItem() QVR_REQUIRES(monitor()) {
    // The predicate is asked under the lock, which the analysis does not see.
    return _awaitItem([this, run = run_]()
                          QVR_NO_THREAD_SAFETY_ANALYSIS { return isStoppedSince(run); });
  }

  template <class Item>
  bool add(Item&& item) {
    QVRSysLockGuard guard(monitor());
    if (isFull()) {
      const std::size_t full = _count();
      guard.release();
      giveWayWhile(count_, full);
      guard.acquire();
    }
    if (!awaitRoom()) return false;
    try {
      items_.append(std::forward<Item>(item));
    } catch (...) {
      roomAvailable_.signal();  // what this thread may have waited for is another's
      throw;
    }
    setCount(_count() + 1);
    itemsAvailable_.signal();
    return true;
  }

  void assignFirst(T& item) QVR_REQUIRES(monitor()) {
    try {
      if constexpr (std::is_nothrow_move_assignable_v<T> || !std::is_copy_assignable_v<T>) {
        item = std::move(_first());
      } else {
        item = std::as_const(_first());
      }
    } catch (...) {
      itemsAvailable_.signal();  // as in add()
      throw;
    }
  }

  Items items_ QVR_GUARDED_BY(monitor());
  // Written under the lock; without it a look at some moment, which orders nothing.
  qvr::internal::Atomic<std::size_t> count_ = 0;
  // Counts stops and restarts: odd while stopped. Who waits sees one that is over by then.
  std::uint64_t run_ QVR_GUARDED_BY(monitor()) = 0;
};
