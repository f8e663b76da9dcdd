// What buffers between producers and consumers are built on.
#pragma once

#include <atomic>
#include <cstddef>

#include "QVRAtomicAccess.h"
#include "QVRSysCondition.h"
#include "QVRSysMonitor.h"
#include "QVRSystemExport.h"
#include "QVRThreadAnnotations.h"

/// The base of bounded and unbounded buffers between producer and consumer threads: the
/// lock, the conditions on which they wait, and the capacity. A derived class adds the
/// items, whether the buffer is stopped, and the four operations below; QVRSysPCQueue is
/// one for items of any type.
///
/// Every derived buffer follows one protocol, under its lock:
/// - put: while the buffer is full and not stopped, wait for room; unless stopped, add the
///   item and signal itemsAvailable_ once.
/// - get: while the buffer is empty and not stopped, wait for items; unless stopped, remove
///   the first item and signal roomAvailable_ once; use the item with the lock given back.
/// - stop: mark the buffer as stopped and wake all who wait on either condition; each of
///   them returns without an item.
///
/// @par Thread safety
/// Any thread may call any operation but construction and destruction. The lock is
/// recursive: whoever holds it may ask the buffer anything.
class QVRSYSTEM_API QVRSysPCBuffer : public QVRSysMonitor {
 public:
  /// Whether a get would find an item: never while stopped.
  virtual bool hasItems() const = 0;

  /// Whether a put would find room: never while stopped.
  virtual bool hasRoom() const = 0;

  /// The number of items, stopped or not.
  virtual std::size_t count() const = 0;

  /// Removes every item, front first, then signals once that there is room.
  virtual void clear() = 0;

  /// Nobody may use the buffer any more. Throws what letting go of its items throws.
  virtual ~QVRSysPCBuffer() noexcept(false);

  QVRSysPCBuffer(const QVRSysPCBuffer&) = delete;
  QVRSysPCBuffer& operator=(const QVRSysPCBuffer&) = delete;

  /// How many items there is room for; 0 for any number.
  std::size_t getCapacity() const;

  /// Wakes nobody: a thread that waits for room looks again when it is signalled. Items
  /// beyond the new capacity stay.
  void setCapacity(std::size_t capacity);

 protected:
  /// @throws QVREInternalError as QVRSysMutexLock does.
  explicit QVRSysPCBuffer(std::size_t capacity = 0);

  /// For a thread that would sleep otherwise, and does not hold the lock: lets others run, who
  /// may do what it would sleep for.
  /// @param time how often it has done so.
  /// @return `false`, at once, where that was often enough.
  static bool giveWay(int time) noexcept;

  /// The capacity, for a thread that does not hold the lock.
  std::size_t capacityNow() noexcept QVR_NO_THREAD_SAFETY_ANALYSIS {
    return qvr::internal::AtomicRef<std::size_t>(capacity_).load(std::memory_order_relaxed);
  }

  QVRSysCondition itemsAvailable_{mutex()};  // consumers wait on it
  QVRSysCondition roomAvailable_{mutex()};   // producers wait on it
  std::size_t capacity_ QVR_GUARDED_BY(monitor());
};
