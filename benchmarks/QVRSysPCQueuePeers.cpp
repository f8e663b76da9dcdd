// The packaged libraries' queues between threads.
#include <Poco/AutoPtr.h>
#include <Poco/Notification.h>
#include <Poco/NotificationQueue.h>
#include <Poco/Semaphore.h>
#include <oneapi/tbb/concurrent_queue.h>

#include <boost/thread/sync_bounded_queue.hpp>
#include <cstddef>
#include <cstdint>

#include "PCQueueBenchmark.h"

namespace {

class BoostQueue {
 public:
  explicit BoostQueue(std::size_t capacity) : queue_(capacity) {}
  void put(std::uint64_t item) { queue_.push_back(item); }
  void get(std::uint64_t& item) { queue_.pull_front(item); }

 private:
  boost::sync_bounded_queue<std::uint64_t> queue_;
};

class TbbQueue {
 public:
  explicit TbbQueue(std::size_t capacity) {
    queue_.set_capacity(static_cast<std::ptrdiff_t>(capacity));
  }
  void put(std::uint64_t item) { queue_.push(item); }
  void get(std::uint64_t& item) { queue_.pop(item); }

 private:
  tbb::concurrent_bounded_queue<std::uint64_t> queue_;
};

/// Poco's queue has no capacity of its own.
class PocoQueue {
 public:
  explicit PocoQueue(std::size_t capacity) : room_(static_cast<int>(capacity)) {}

  void put(std::uint64_t value) {
    room_.wait();
    queue_.enqueueNotification(new Item(value));
  }

  void get(std::uint64_t& value) {
    const Poco::AutoPtr<Poco::Notification> item(queue_.waitDequeueNotification());
    value = static_cast<const Item&>(*item).value;
    room_.set();
  }

 private:
  struct Item : Poco::Notification {
    explicit Item(std::uint64_t held) : value(held) {}
    const std::uint64_t value;
  };

  Poco::Semaphore room_;
  Poco::NotificationQueue queue_;
};

[[maybe_unused]] const bool isRegistered = timeTransfer<BoostQueue>("Boost") &&
                                           timeTransfer<TbbQueue>("TBB") &&
                                           timeTransfer<PocoQueue>("Poco");

}  // namespace
