// Short critical sections of the thread classes.
#pragma once

#include "QVRRecursiveLock.h"
#include "QVRSysCriticalSection.h"
#include "QVRSystem/internal/QVRThreadState.h"
#include "QVRThreadAnnotations.h"

namespace qvr::internal {

/// Holds a lock for a few instructions, in which no caller's code runs: whoever
/// would suspend or end the thread lets it leave the scope first.
class QVR_SCOPED_CAPABILITY ShortHold {
 public:
  explicit ShortHold(QVRSysCriticalSection& lock) noexcept QVR_ACQUIRE(lock) : lock_(lock.native_) {
    lock_.acquire();
  }
  ~ShortHold() QVR_RELEASE() {
    if (held_) lock_.release();
  }

  /// Gives the lock back already. The rest of the scope belongs to the section:
  /// there the threads are woken that were taken off their list, which nobody
  /// else can wake.
  void release() noexcept QVR_RELEASE() {
    held_ = false;
    lock_.release();
  }

  ShortHold(const ShortHold&) = delete;
  ShortHold& operator=(const ShortHold&) = delete;

 private:
  const ShortSection section_;  // around the wait for the lock too
  RecursiveLock lock_;
  bool held_ = true;
};

}  // namespace qvr::internal
