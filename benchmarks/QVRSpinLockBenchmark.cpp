// Spin locks, and what none can go below: one exchange and one store.
#include "QVRSpinLock.h"

#include <atomic>

#include "LockBenchmark.h"

namespace {

/// Spins by exchanging.
class BareExchange {
 public:
  void lock() {
    while (word_.exchange(1, std::memory_order_acquire) != 0) {
    }
  }
  void unlock() { word_.store(0, std::memory_order_release); }

 private:
  std::atomic<std::uint32_t> word_ = 0;
};

[[maybe_unused]] const bool isRegistered = timePair<Named<QVRSpinLock>>("QVRSpinLock") &&
                                           timeContended<Named<QVRSpinLock>>("QVRSpinLock", 2) &&
                                           timePair<BareExchange>("exchange (limit)") &&
                                           timeContended<BareExchange>("exchange (limit)", 2);

}  // namespace
