// What threads that hold a mutex can wait for.
#pragma once

#include "QVRSysCriticalSection.h"
#include "QVRSysICondition.h"
#include "QVRSystemExport.h"
#include "QVRThreadAnnotations.h"

class QVRSysMutexLock;

namespace qvr::internal {
class BufferEndHold;
class Waiter;
}  // namespace qvr::internal

/// A condition on one mutex: a thread that holds the mutex waits until another
/// signals.
///
/// Signals go to the threads that wait when they are given, the longest waiting
/// first, and are forgotten where there is none. No thread wakes without one, and
/// one that begins to wait later gets none of them. Throws nothing.
///
/// @par Thread safety
/// Any thread may call any operation but construction and destruction, which are
/// one thread's and for which no thread may wait; a thread that signals and does
/// not hold the mutex may still be inside signal() when the waiter goes on.
/// @par Cost
/// A signal that nobody waits for is one read. Waiting allocates nothing.
class QVRSYSTEM_API QVRSysCondition : public QVRSysICondition {
 public:
  /// @param lock the mutex, which must last as long as the condition.
  explicit QVRSysCondition(QVRSysMutexLock& lock) noexcept : lock_(lock) {}
  ~QVRSysCondition() = default;

  QVRSysCondition(const QVRSysCondition&) = delete;
  QVRSysCondition& operator=(const QVRSysCondition&) = delete;

  /// Wakes the thread that has waited longest, if one waits. With the mutex held or
  /// without; with it held, that thread runs once the mutex is given back, or its
  /// holder has ended. Only a holder that ends by the bare system call, past the C
  /// library, takes the wake-up with it.
  void signal() override;

  /// Wakes every thread that waits now, and waits for none of them to run. To be
  /// called with the mutex held.
  void signalAll() override;

  /// Gives one hold of the mutex back, sleeps until signalled, and takes the hold
  /// again: a caller that held it several times keeps it from others meanwhile.
  /// Takes over, without a report, a mutex whose holder ended. To be called with
  /// the mutex held.
  void wait() override;

  /// The mutex given to the constructor.
  QVRSysIMutexLock* getLock() const override;

 private:
  friend class qvr::internal::BufferEndHold;  // takes off under a lock and wakes without

  /// The thread that has waited longest, which no longer waits here and is for wake(); null
  /// where none waits.
  qvr::internal::Waiter* takeFirst() noexcept;
  static void wake(qvr::internal::Waiter& waiter, bool isBehindMutex) noexcept;
  bool isLockHeldByCaller() const noexcept;

  QVRSysMutexLock& lock_;
  QVRSysCriticalSection queueLock_ QVR_ACQUIRED_AFTER(lock_);  // never held while waiting
  // A qvr::internal::WaitList, which queueLock_ guards; whether anybody waits is
  // also read without it.
  qvr::internal::Waiter* waiters_ = nullptr;
};
