// The packaged libraries' conditions, each with its library's mutex.
#include <absl/synchronization/mutex.h>

#include <QMutex>
#include <QWaitCondition>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>

#include "ConditionBenchmark.h"

namespace {

struct AbseilMutex : absl::Mutex {
  void lock() { Lock(); }
  void unlock() { Unlock(); }
};

class AbseilCondition {
 public:
  explicit AbseilCondition(AbseilMutex&) {}
  void wait(AbseilMutex& held) { condition_.Wait(&held); }
  void signal() { condition_.Signal(); }

 private:
  absl::CondVar condition_;
};

class BoostCondition {
 public:
  explicit BoostCondition(boost::mutex&) {}
  void wait(boost::mutex& held) {
    boost::unique_lock<boost::mutex> lock(held, boost::adopt_lock);
    condition_.wait(lock);
    lock.release();
  }
  void signal() { condition_.notify_one(); }

 private:
  boost::condition_variable condition_;
};

class QtCondition {
 public:
  explicit QtCondition(QMutex&) {}
  void wait(QMutex& held) { condition_.wait(&held); }
  void signal() { condition_.wakeOne(); }

 private:
  QWaitCondition condition_;
};

[[maybe_unused]] const bool isRegistered = timeCondition<AbseilMutex, AbseilCondition>("Abseil") &&
                                           timeCondition<boost::mutex, BoostCondition>("Boost") &&
                                           timeCondition<QMutex, QtCondition>("QWaitCondition");

}  // namespace
