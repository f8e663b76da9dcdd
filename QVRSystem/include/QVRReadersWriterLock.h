// A recursive lock that many threads can hold for reading.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "QVRAtomicAccess.h"
#include "QVRSysCriticalSection.h"
#include "QVRSysIMutexLock.h"
#include "QVRSysThreadId.h"
#include "QVRSystemExport.h"
#include "QVRThreadAnnotations.h"

namespace qvr::internal {
class HolderIndex;
class Waiter;
}  // namespace qvr::internal

/// A lock that any number of threads hold for reading or one holds for writing,
/// each as often as it likes.
///
/// Writers are preferred: a thread that would begin to read waits while a writer
/// holds the lock or waits for it; a thread that holds the lock already never
/// waits. A read hold inside a write hold counts as one more write hold; a write
/// hold inside a read hold is refused. A holder that ends leaves the lock held for
/// ever. As an interface, acquire() takes the lock for writing. It counts 2147483647
/// holds of all threads together.
///
/// Invariant: the holds of all holding threads add up to |getNestingLevel()|.
///
/// @par Thread safety
/// Any thread may call any operation but construction and destruction. The last user,
/// when no other holds the lock or will ask for it, may destroy it as soon as its own
/// release() has returned: that of another thread may still be about to return.
/// @par Cost
/// While one thread alone uses the lock, one atomic exchange each way, a nested
/// hold included. Otherwise each operation holds a short lock inside and finds the
/// caller among the holders in constant time on average; only waiting enters the
/// kernel. Memory grows with the largest number of threads that held the lock or
/// waited at once, and is there for 8 from the start.
class QVRSYSTEM_API QVRReadersWriterLock : public QVRSysIMutexLock {
 public:
  /// @throws std::bad_alloc.
  QVRReadersWriterLock();

  /// Does not look whether the lock is held.
  ~QVRReadersWriterLock();

  QVRReadersWriterLock(const QVRReadersWriterLock&) = delete;
  QVRReadersWriterLock& operator=(const QVRReadersWriterLock&) = delete;

  /// Holds the lock for reading once more; inside a write hold, for writing.
  /// @throws std::bad_alloc if there is no memory for one more holder; the caller
  ///   then holds what it held.
  void acquireRead() QVR_ACQUIRE_SHARED();

  /// Holds the lock for writing once more.
  /// @throws QVREInternalError " Cannot acquire a write lock within a read-only
  ///   transaction" (line 242) if the caller holds it for reading; nothing changes.
  /// @throws std::bad_alloc as acquireRead().
  void acquireWrite() QVR_ACQUIRE();

  /// As acquireWrite().
  void acquire() override QVR_ACQUIRE();

  /// Gives back one hold of either kind; with the caller's last one, lets waiting
  /// writers go on, or else waiting readers.
  /// @throws QVREInternalError " Illegal useage; Not Owner " (line 265) if the
  ///   caller holds none; nothing changes.
  void release() override QVR_RELEASE();

  /// Whether the caller holds the lock in either way.
  bool isLocked() const;
  /// As isLocked().
  bool isReadLocked() const;
  /// Whether the caller holds the lock for writing.
  bool isWriteLocked() const;

  /// The holds of all threads together: positive for reading, negative for
  /// writing, 0 where the lock is free.
  int getNestingLevel() const;

 private:
  friend struct QVRReadersWriterLockTestAccess;

  struct Holder {
    QVRSysThreadId thread;  // not valid: the entry is free
    std::int32_t holds = 0;
  };

  /// Threads that found the lock taken.
  struct Queue {
    qvr::internal::Waiter* list = nullptr;  // a qvr::internal::WaitList
    std::int32_t count = 0;                 // until they have looked again, woken ones included
  };

  class QueuedWait;
  struct Growth;

  bool takeAlone(std::uint32_t self, std::int32_t firstHold) noexcept;
  bool giveBackAlone(std::uint32_t self) noexcept;
  void joinReaders(std::uint32_t self);
  bool becomeWriter(std::uint32_t self);
  bool leave(std::uint32_t self);
  void enterTable() QVR_REQUIRES(monitor_);
  void enter(std::uint32_t self, std::int32_t firstHold) QVR_REQUIRES(monitor_);

  // These take the caller's identifier, or its entry once it is found.
  int findThread(const QVRSysThreadId& thread) const QVR_REQUIRES(monitor_);
  void addThread(const QVRSysThreadId& thread) QVR_REQUIRES(monitor_);
  void removeThread(int entry) QVR_REQUIRES(monitor_);
  bool isUpgrade(const QVRSysThreadId& thread) const QVR_REQUIRES(monitor_);
  bool isNestedRead(const QVRSysThreadId& thread) QVR_REQUIRES(monitor_);
  bool isNestedWrite(const QVRSysThreadId& thread) QVR_REQUIRES(monitor_);
  bool isNestedRelease(int entry) QVR_REQUIRES(monitor_);
  bool isValid() const QVR_REQUIRES(monitor_);
  QVRSysCriticalSection& getMonitor() const QVR_RETURN_CAPABILITY(monitor_) { return monitor_; }

  std::size_t findFreeEntry() const QVR_REQUIRES(monitor_);
  std::size_t neededEntries() const QVR_REQUIRES(monitor_);
  void reserveEntry(Growth& growth) QVR_REQUIRES(monitor_);
  void fetch(Growth& growth, std::size_t entries) QVR_REQUIRES(monitor_);
  void exchange(Growth& growth) QVR_REQUIRES(monitor_);
  void wait(Queue& queue) QVR_REQUIRES(monitor_);
  qvr::internal::Waiter* giveBack(int entry) QVR_REQUIRES(monitor_);
  qvr::internal::Waiter* takeNext() QVR_REQUIRES(monitor_);

  // Where one thread alone uses the lock, that thread and its holds, or 0; otherwise a
  // mark, and the fields below hold. Whoever holds the monitor sets the mark, and takes
  // it off when it becomes the only holder.
  qvr::internal::Atomic<std::uint64_t> word_{0};
  mutable QVRSysCriticalSection monitor_;
  Queue readers_ QVR_GUARDED_BY(monitor_);
  Queue writers_ QVR_GUARDED_BY(monitor_);
  std::int32_t lockCount_ QVR_GUARDED_BY(monitor_) = 0;  // as getNestingLevel()
  std::vector<Holder> holders_ QVR_GUARDED_BY(monitor_);
  // Of holders_; null until these may be more than a handful.
  std::unique_ptr<qvr::internal::HolderIndex> index_ QVR_GUARDED_BY(monitor_);
};
