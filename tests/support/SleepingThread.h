// A thread that a test sees fall asleep.
#pragma once

#include <unistd.h>

#include <atomic>
#include <fstream>
#include <string>
#include <thread>
#include <utility>

/// Runs what is going to wait, and tells when the thread has begun to: when the
/// kernel calls it asleep.
class SleepingThread {
 public:
  SleepingThread() = default;
  ~SleepingThread() {
    if (thread_.joinable()) thread_.join();
  }

  SleepingThread(const SleepingThread&) = delete;
  SleepingThread& operator=(const SleepingThread&) = delete;

  template <class Action>
  void begin(Action action) {
    thread_ = std::thread([this, action = std::move(action)] {
      id_.store(gettid(), std::memory_order_relaxed);
      action();
    });
  }

  void awaitSleep() const {
    while (id_.load(std::memory_order_relaxed) == 0 || !isAsleep()) std::this_thread::yield();
  }

  void join() { thread_.join(); }

 private:
  bool isAsleep() const {
    std::ifstream stat("/proc/self/task/" + std::to_string(id_) + "/stat");
    std::string text;
    std::getline(stat, text);
    const auto state = text.rfind(')') + 2;  // behind the name, whatever that holds
    return state < text.size() && text[state] == 'S';
  }

  std::atomic<pid_t> id_ = 0;
  std::thread thread_;
};
