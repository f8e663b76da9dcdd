// The packaged libraries' thread pools.
#include <Poco/AutoPtr.h>
#include <Poco/Notification.h>
#include <Poco/NotificationQueue.h>
#include <Poco/Thread.h>
#include <oneapi/tbb/global_control.h>
#include <oneapi/tbb/task_arena.h>
#include <oneapi/tbb/task_group.h>

#include <QRunnable>
#include <QThreadPool>
#include <atomic>
#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>
#include <utility>

#include "ThreadPoolBenchmark.h"

namespace {

class QtPool {
 public:
  QtPool() {
    pool_.setMaxThreadCount(kPoolWorkers);
    pool_.setExpiryTimeout(-1);
  }
  void runEmpty() { pool_.start(new Empty); }
  void runNoting(Began& began) { pool_.start(new Noting(began)); }
  void awaitAll() { pool_.waitForDone(); }

 private:
  struct Empty : QRunnable {
    void run() override {}
  };
  struct Noting : QRunnable {
    explicit Noting(Began& noted) : began(noted) {}
    void run() override { began.note(); }
    Began& began;
  };

  QThreadPool pool_;
};

class AsioPool {
 public:
  template <class Task>
  void run(Task task) {
    boost::asio::post(pool_, std::move(task));
  }
  void runEmpty() {
    run([] {});
  }
  void runNoting(Began& began) {
    run([&began] { began.note(); });
  }
  void awaitAll() { awaitAllWorkers(*this); }

 private:
  boost::asio::thread_pool pool_{kPoolWorkers};
};

/// Whoever waits for all helps.
class TbbPool {
 public:
  void runEmpty() {
    arena_.enqueue(group_.defer([] {}));
  }
  void runNoting(Began& began) {
    arena_.enqueue(group_.defer([&began] { began.note(); }));
  }
  void awaitAll() {
    arena_.execute([this] { group_.wait(); });
  }

 private:
  tbb::global_control control_{tbb::global_control::max_allowed_parallelism, kPoolWorkers + 1};
  tbb::task_arena arena_{kPoolWorkers + 1, 1};
  tbb::task_group group_;
};

/// The pool that Poco's documentation makes of its queue: its own takes no more tasks than it
/// has threads.
class PocoPool {
 public:
  PocoPool() {
    for (Poco::Thread& worker : workers_) worker.startFunc([this] { work(); });
  }
  ~PocoPool() {
    isOver_ = true;
    for (int i = 0; i < kPoolWorkers; ++i) runEmpty();
    for (Poco::Thread& worker : workers_) worker.join();
  }

  template <class Action>
  void run(Action action) {
    queue_.enqueueNotification(new Task<Action>(std::move(action)));
  }
  void runEmpty() {
    run([] {});
  }
  void runNoting(Began& began) {
    run([&began] { began.note(); });
  }
  void awaitAll() { awaitAllWorkers(*this); }

 private:
  struct AnyTask : Poco::Notification {
    virtual void run() = 0;
  };
  template <class Action>
  struct Task : AnyTask {
    explicit Task(Action run) : action(std::move(run)) {}
    void run() override { action(); }
    Action action;
  };

  void work() {
    while (!isOver_) {
      const Poco::AutoPtr<Poco::Notification> task(queue_.waitDequeueNotification());
      static_cast<AnyTask&>(const_cast<Poco::Notification&>(*task)).run();
    }
  }

  std::atomic<bool> isOver_ = false;
  Poco::NotificationQueue queue_;
  Poco::Thread workers_[kPoolWorkers];
};

[[maybe_unused]] const bool isRegistered = timePool<QtPool>("QThreadPool") &&
                                           timePool<AsioPool>("Boost.Asio") &&
                                           timePool<TbbPool>("TBB") && timePool<PocoPool>("Poco");

}  // namespace
