// Calls of the system that no cancellation of their thread interrupts.
#pragma once

#include <pthread.h>

#include <cerrno>

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

/// Calls until no signal interrupts, nor a cancellation. The result is not negative unless it
/// failed.
template <class Call>
auto uninterrupted(Call call) {
  const NotCancelled scope;
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

}  // namespace qvr
