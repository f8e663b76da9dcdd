// The ends of a queue, where threads put and get without holding its monitor.
#pragma once

#include <cstdint>

#include "QVRSpinLock.h"
#include "QVRSystemExport.h"
#include "QVRThreadAnnotations.h"

class QVRSysCondition;
class QVRSysMutexLock;

namespace qvr::internal {

class Waiter;

/// One end of a queue: the lock of what those share who put, or those who get.
///
/// A thread works at an end without the queue's monitor, but only where it sees, under the
/// end's lock, that no other thread holds that. Whoever holds the monitor looks at an end under
/// the lock of that end. So it is as if the thread had held the monitor itself: before a holder
/// that it did not see and that will see what it did, or after one that it sees gone. For the
/// same reason no wake-up is lost: a thread that finds nothing at an end, and then waits, holds
/// the monitor in between.
///
/// The front's lock is taken before the back's, and both with the monitor held or without.
using BufferEnd = QVRSpinLock;

/// Works at an end for a few instructions: whoever would suspend or end the thread lets it
/// leave the scope first.
class QVRSYSTEM_API QVR_SCOPED_CAPABILITY BufferEndHold {
 public:
  explicit BufferEndHold(BufferEnd& end) noexcept QVR_ACQUIRE(end);
  ~BufferEndHold() QVR_RELEASE();

  BufferEndHold(const BufferEndHold&) = delete;
  BufferEndHold& operator=(const BufferEndHold&) = delete;

  /// Whether another thread holds the monitor.
  static bool isHeldByAnother(const QVRSysMutexLock& monitor) noexcept;

  /// Signals, once per scope; the thread is woken behind it. The one that waits may so destroy
  /// the queue as soon as it wakes.
  void signal(QVRSysCondition& condition) noexcept;

 private:
  BufferEnd& end_;
  const std::uint32_t outerSection_;
  Waiter* signalled_ = nullptr;
  bool isBehindMonitor_ = false;
};

/// In its place where the monitor is held, and is enough.
class QVRSYSTEM_API QVR_SCOPED_CAPABILITY BufferEndUnderMonitor {
 public:
  explicit BufferEndUnderMonitor(BufferEnd& end) noexcept QVR_ACQUIRE(end);
  ~BufferEndUnderMonitor() QVR_RELEASE();

  BufferEndUnderMonitor(const BufferEndUnderMonitor&) = delete;
  BufferEndUnderMonitor& operator=(const BufferEndUnderMonitor&) = delete;

  static bool isHeldByAnother(const QVRSysMutexLock& /*monitor*/) noexcept { return false; }
  void signal(QVRSysCondition& condition) noexcept { signalled_ = &condition; }

 private:
  QVRSysCondition* signalled_ = nullptr;
};

}  // namespace qvr::internal
