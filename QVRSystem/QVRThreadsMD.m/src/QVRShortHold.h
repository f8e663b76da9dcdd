// Short critical sections of the thread classes.
#pragma once

#include "QVRSysCriticalSection.h"
#include "QVRSystem/internal/QVRThreadState.h"
#include "QVRThreadAnnotations.h"

namespace qvr::internal {

/// Holds a lock for a few instructions, in which no caller's code runs: whoever
/// would suspend or end the thread lets it give the lock back first.
class QVR_SCOPED_CAPABILITY ShortHold {
 public:
  explicit ShortHold(QVRSysCriticalSection& lock) noexcept QVR_ACQUIRE(lock) : lock_(lock) {
    lock_.acquire();
  }
  ~ShortHold() QVR_RELEASE() { lock_.release(); }

  ShortHold(const ShortHold&) = delete;
  ShortHold& operator=(const ShortHold&) = delete;

 private:
  const ShortSection section_;  // around the wait for the lock too
  QVRSysCriticalSection& lock_;
};

}  // namespace qvr::internal
