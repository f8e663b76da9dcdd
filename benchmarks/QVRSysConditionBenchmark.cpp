// Conditions: two threads in turn on one processor, and a signal for nobody.
#include "QVRSysCondition.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <mutex>

#include "ConditionBenchmark.h"
#include "LockBenchmark.h"
#include "QVRSysMutexLock.h"

namespace {

using OurMutex = Named<QVRSysMutexLock>;

struct OurCondition : QVRSysCondition {
  using QVRSysCondition::QVRSysCondition;
  void wait(OurMutex&) { QVRSysCondition::wait(); }
};

class StdCondition {
 public:
  explicit StdCondition(std::mutex&) {}
  void wait(std::mutex& held) {
    std::unique_lock<std::mutex> lock(held, std::adopt_lock);
    condition_.wait(lock);
    lock.release();
  }
  void signal() { condition_.notify_one(); }

 private:
  std::condition_variable condition_;
};

/// Turns by nothing but the word that the threads sleep on.
class FutexTurns {
 public:
  void await(int thread) {
    int turn;
    while ((turn = turn_.load(std::memory_order_acquire)) != thread) {
      syscall(SYS_futex, &turn_, FUTEX_WAIT_PRIVATE, turn, nullptr);
    }
  }
  void pass(int thread) {
    turn_.store(thread, std::memory_order_release);
    syscall(SYS_futex, &turn_, FUTEX_WAKE_PRIVATE, 1);
  }

 private:
  std::atomic<int> turn_ = 0;
};

[[maybe_unused]] const bool isRegistered =
    timeCondition<OurMutex, OurCondition>("QVRSysCondition") &&
    timeCondition<std::mutex, StdCondition>("std::condition_variable") &&
    timePingPong<FutexTurns>("futex (limit)");

}  // namespace
