// The platform's own unwinding of a thread that is being ended.
#pragma once

#include <exception>

#include "QVRSystem/platform/QVRPlatformThread.h"

namespace qvr::internal {

/// In a handler of any exception: whether what is caught was not thrown in C++,
/// as when a thread is cancelled. Then the handler must throw it on.
inline bool isPlatformUnwinding() noexcept { return std::current_exception() == nullptr; }

/// For a scope that must not be unwound: a request to cancel the thread waits
/// until the scope ends.
class CancellationHold {
 public:
  CancellationHold() noexcept { platform::holdCancellation(before_); }
  ~CancellationHold() { platform::restoreCancellation(before_); }

  CancellationHold(const CancellationHold&) = delete;
  CancellationHold& operator=(const CancellationHold&) = delete;

 private:
  int before_ = 0;
};

}  // namespace qvr::internal
