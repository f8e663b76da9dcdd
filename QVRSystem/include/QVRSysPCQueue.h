// A queue between producers and consumers.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <type_traits>
#include <utility>

#include "QVRAtomicAccess.h"
#include "QVRBufferEnd.h"
#include "QVRChunkedQueue.h"
#include "QVRSysLockGuard.h"
#include "QVRSysPCBuffer.h"
#include "QVRThreadAnnotations.h"

class QVRSysMutexLock;

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
/// Items whose moves and destructor do not throw are moved into the queue and out of it while
/// the thread can be neither suspended nor ended: they must not wait for anything then.
/// Nothing is held while they are copied, assigned and, but for what clear() removes,
/// destroyed.
///
/// All others are copied, moved and destroyed under the lock, and must not use the queue
/// meanwhile; they are copied rather than moved wherever they can be. Where one throws, count
/// and order of the queue are what they were, and whoever else waits can have the item or its
/// room.
///
/// @tparam T an object type that can be moved or copied, and assigned likewise for get().
/// @par Thread safety
/// As QVRSysPCBuffer. Threads that wait are served in the order in which they came, but one
/// that has not begun to wait may be faster.
/// @par Cost
/// Of items that are moved without throwing, producers and consumers do not wait for each
/// other unless the queue is empty or full: a put or get costs what a QVRSpinLock costs, with
/// any number of items. Of others, it is one hold of the lock. A thread lets others run a few
/// times before it sleeps, and is woken only where it sleeps. Memory is allocated for some
/// dozens of items at a time.
template <class T>
class QVRSysPCQueue : public QVRSysPCBuffer {
 public:
  /// @param capacity 0 for no limit; then a put never waits.
  /// @throws QVREInternalError as QVRSysMutexLock does.
  explicit QVRSysPCQueue(std::size_t capacity = 0) : QVRSysPCBuffer(capacity) {}

  ~QVRSysPCQueue() noexcept(false) override { destroy(front_.items, back_.items); }

  /// Waits for room, then adds the item behind the others.
  /// @return whether it did: not where the queue is stopped, or is while it waits; the item
  ///   is left alone then.
  /// @throws std::bad_alloc; what copying or moving the item throws.
  bool put(const T& item) {
    if constexpr (kMovesSafely) {
      return put(T(item));
    } else {
      return awaitAndPut(item);
    }
  }
  bool put(T&& item) {
    if constexpr (kMovesSafely) {
      if (tryForAWhile([&] { return putAtOnce(item); })) return true;
    }
    return awaitAndPut(std::move_if_noexcept(item));
  }

  /// Waits for an item and gives the first one.
  /// @return whether it did: not where the queue is stopped, or is while it waits; `item` is
  ///   left alone then.
  /// @throws what copying, moving or assigning the item throws.
  bool get(T& item) {
    if constexpr (kMovesSafely) {
      std::optional<T> taken;
      const auto take = [&](T& first) { taken.emplace(std::move(first)); };
      if (!tryForAWhile([&] { return tryGet(take); }) && !awaitAndGet(take)) return false;
      item = std::move(*taken);
      return true;
    } else {
      return awaitAndGet([&](T& first) { assign(item, first); });
    }
  }

  /// Has every put and get return `false`, those that wait included, until restarted. The
  /// items stay.
  void stop() {
    const QVRSysLockGuard guard(monitor());
    if (isStopped()) return;
    _beginRun();
    itemsAvailable_.signalAll();
    roomAvailable_.signalAll();
  }

  /// Ends the stop; the items that are there can be had again.
  void restart() {
    const QVRSysLockGuard guard(monitor());
    if (isStopped()) _beginRun();
  }

  bool hasItems() const override {
    const QVRSysLockGuard guard(monitor());
    return !isStopped() && _count() != 0;
  }

  bool hasRoom() const override {
    const QVRSysLockGuard guard(monitor());
    return !isStopped() && (capacity_ == 0 || _count() < capacity_);
  }

  std::size_t count() const override {
    const QVRSysLockGuard guard(monitor());
    return _count();
  }

  /// An item whose destructor throws is gone like the others; the last exception comes
  /// through.
  void clear() override {
    const QVRSysLockGuard guard(monitor());
    Items first;
    Items rest;
    {
      const Hold front(front_.end);
      const Hold back(back_.end);
      first.swap(front_.items);
      rest.swap(back_.items);
      front_.removed.store(back_.added, std::memory_order_release);
    }
    roomAvailable_.signal();  // who waits does not run before the lock is given back
    destroy(first, rest);
  }

 protected:
  // What a put or get that does not wait does; for derived classes with more to do.

  /// Puts the item if there is room. Like the next for items whose moves do not throw.
  /// @param outer a lock to hold before this queue's own.
  /// @return whether it did: not where the queue is stopped or another thread holds a lock
  ///   either.
  /// @throws std::bad_alloc
  bool putAtOnce(T& item, const QVRSysMutexLock* outer = nullptr) {
    static_assert(kMovesSafely);
    return tryPut(std::move(item), outer);
  }

  /// Gets the first item, if there is one, as putAtOnce() puts; what it replaces goes under the
  /// lock of an end.
  bool getAtOnce(T& item) {
    static_assert(kMovesSafely);
    return tryGet([&](T& first) { item = std::move(first); });
  }

  /// Without the lock: tries until it is done, a few times, with others let run in between.
  template <class Attempt>
  bool tryForAWhile(Attempt attempt) const {
    for (int time = 0; !attempt(); ++time) {
      if (isStopped() || !giveWay(time)) return false;
    }
    return true;
  }

  /// Settled only under the lock.
  bool isStopped() const noexcept { return run() % 2 != 0; }

 private:
  using Items = qvr::internal::ChunkedQueue<T>;
  using Count = qvr::internal::Atomic<std::uint64_t>;

  static constexpr bool kMovesSafely = std::is_nothrow_move_constructible_v<T> &&
                                       std::is_nothrow_move_assignable_v<T> &&
                                       std::is_nothrow_destructible_v<T>;

  /// Of an end; others than safe items are the monitor's holder's alone.
  using Hold = std::conditional_t<kMovesSafely, qvr::internal::BufferEndHold,
                                  qvr::internal::BufferEndUnderMonitor>;

  // The ends have no cache line in common.
  static constexpr std::size_t kCacheLine = 64;

  /// Where items are put.
  struct Back {
    char apart[kCacheLine];
    mutable qvr::internal::BufferEnd end;
    Items items QVR_GUARDED_BY(end);
    std::uint64_t added QVR_GUARDED_BY(end) = 0;
    std::uint64_t removed QVR_GUARDED_BY(end) = 0;  // at least so many by now
  };

  /// Where they are got: those before all at the back.
  struct Front {
    char apart[kCacheLine];
    mutable qvr::internal::BufferEnd end;
    Items items QVR_GUARDED_BY(end);
    Count removed = 0;  // written under the lock of the end
  };

  template <class Item>
  bool tryPut(Item&& item, const QVRSysMutexLock* outer = nullptr) {
    typename Items::Memory memory;
    for (;; memory = Items::allocate()) {
      Hold back(back_.end);
      if (outer != nullptr && Hold::isHeldByAnother(*outer)) return false;
      if (Hold::isHeldByAnother(mutex()) || isStopped() || isFull()) return false;
      if (!back_.items.append(memory, std::forward<Item>(item))) continue;
      ++back_.added;
      back.signal(itemsAvailable_);
      return true;
    }
  }

  /// @param take is given the first item, if there is one.
  template <class Take>
  bool tryGet(Take take) {
    typename Items::Memory surplus;
    Hold front(front_.end);
    if (Hold::isHeldByAnother(mutex()) || isStopped() || !reachFirst()) return false;
    take(front_.items.front());
    front_.removed.store(front_.removed.load(std::memory_order_relaxed) + 1,
                         std::memory_order_release);
    front.signal(roomAvailable_);
    front_.items.removeFront(surplus);
    return true;
  }

  template <class Item>
  bool awaitAndPut(Item&& item) {
    const QVRSysLockGuard guard(monitor());
    try {
      for (const std::uint64_t begun = run(); !isStoppedSince(begun); awaitRoom()) {
        if (tryPut(std::forward<Item>(item))) return true;
      }
    } catch (...) {
      roomAvailable_.signal();  // what this thread may have waited for is another's
      throw;
    }
    return false;
  }

  template <class Take>
  bool awaitAndGet(Take take) {
    const QVRSysLockGuard guard(monitor());
    try {
      for (const std::uint64_t begun = run(); !isStoppedSince(begun); itemsAvailable_.wait()) {
        if (tryGet(take)) return true;
      }
    } catch (...) {
      itemsAvailable_.signal();  // as in awaitAndPut()
      throw;
    }
    return false;
  }

  void awaitRoom() QVR_REQUIRES(monitor()) {
    {
      // A get that this look does not see looks at the monitor later, and sees it held.
      const Hold front(front_.end);
      const Hold back(back_.end);
      if (!isFull()) return;
    }
    roomAvailable_.wait();
  }

  bool isFull() QVR_REQUIRES(back_.end) {
    const std::size_t capacity = capacityNow();
    if (capacity == 0 || back_.added - back_.removed < capacity) return false;
    // Pairs with the store in tryGet(): what was done before an item was got is visible to
    // who puts in its place.
    back_.removed = front_.removed.load(std::memory_order_acquire);
    return back_.added - back_.removed >= capacity;
  }

  /// @return whether the first item, if there is one, is at the front now.
  bool reachFirst() QVR_REQUIRES(front_.end) {
    if (!front_.items.isEmpty()) return true;
    const Hold back(back_.end);
    front_.items.swap(back_.items);
    return !front_.items.isEmpty();
  }

  std::size_t _count() const QVR_REQUIRES(monitor()) {
    const Hold front(front_.end);
    const Hold back(back_.end);
    return back_.added - front_.removed.load(std::memory_order_relaxed);
  }

  std::uint64_t run() const noexcept { return run_.load(std::memory_order_relaxed); }

  bool isStoppedSince(std::uint64_t begun) const noexcept { return isStopped() || run() != begun; }

  void _beginRun() QVR_REQUIRES(monitor()) {
    const Hold front(front_.end);
    const Hold back(back_.end);
    run_.store(run() + 1, std::memory_order_relaxed);
  }

  static void assign(T& item, T& first) {
    if constexpr (std::is_nothrow_move_assignable_v<T> || !std::is_copy_assignable_v<T>) {
      item = std::move(first);
    } else {
      item = std::as_const(first);
    }
  }

  static void destroy(Items& first, Items& rest) noexcept(std::is_nothrow_destructible_v<T>) {
    if constexpr (std::is_nothrow_destructible_v<T>) {
      first.clear();
    } else {
      try {
        first.clear();
      } catch (...) {
        rest.clear();
        throw;
      }
    }
    rest.clear();
  }

  // Counts stops and restarts: odd while stopped. Who waits sees one that is over by then.
  // Written under the monitor and both ends.
  Count run_ = 0;
  Back back_;
  Front front_;
};
