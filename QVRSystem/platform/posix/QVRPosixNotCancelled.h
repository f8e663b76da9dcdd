// Calls of the system that no cancellation of their thread interrupts.
#pragma once

#include <pthread.h>

namespace qvr {

/// For a scope that calls the system at points of cancellation. A request to cancel
/// the thread waits: nothing could unwind out of functions that are noexcept, and
/// the process would end.
class NotCancelled {
 public:
  NotCancelled() noexcept { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before_); }
  ~NotCancelled() { pthread_setcancelstate(before_, nullptr); }

  NotCancelled(const NotCancelled&) = delete;
  NotCancelled& operator=(const NotCancelled&) = delete;

 private:
  int before_ = PTHREAD_CANCEL_ENABLE;
};

}  // namespace qvr
