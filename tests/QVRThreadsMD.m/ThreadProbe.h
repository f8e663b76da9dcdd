// Threads whose runnables do what a test says, and whether they run.
#pragma once

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <fstream>
#include <functional>
#include <semaphore>
#include <string>
#include <utility>

#include "QVRCountedPointer.h"
#include "QVRSysIRunnableBody.h"
#include "QVRSysThreadBody.h"

struct QVRSysThreadBodyTestAccess {
  static void setState(QVRSysThreadBody& body, int state) {
    body.setState(static_cast<QVRSysExecutionState>(state));
  }
};

using ThreadPointer = QVRCountedPointer<QVRSysThreadBody>;
using RunnablePointer = QVRCountedPointer<QVRSysIRunnableBody>;

/// Runs a function, and counts what its thread calls.
class ProbeRunnable : public QVRSysIRunnableBody {
 public:
  explicit ProbeRunnable(std::function<void()> function) : function_(std::move(function)) {}

  void initialize() override { ++initialized; }
  void* run() override {
    ++runs;
    function_();
    return nullptr;
  }
  void finalize() override { ++finalized; }

  std::atomic<int> initialized = 0;
  std::atomic<int> runs = 0;
  std::atomic<int> finalized = 0;

 private:
  const std::function<void()> function_;
};

/// A thread that runs the function once it is started.
inline ThreadPointer makeThread(std::function<void()> function,
                                const QVRSysThreadAttribute& attribute = {}) {
  return new QVRSysThreadBody(new ProbeRunnable(std::move(function)), attribute);
}

inline QVRSysThreadAttribute detachedAttribute() {
  QVRSysThreadAttribute attribute;
  attribute.setDetachState(QVR_SYS_DETACHED);
  return attribute;
}

inline QVRSysThreadAttribute createdSuspended() {
  QVRSysThreadAttribute attribute;
  attribute.setCreateSuspendedFlag(QVR_SYS_CREATE_SUSPENDED);
  return attribute;
}

/// Something that threads wait for and that comes once.
class Event {
 public:
  void set() { semaphore_.release(); }
  void wait() { semaphore_.acquire(); }

 private:
  std::binary_semaphore semaphore_{0};
};

/// Whether the system has such a thread in this process.
inline bool isThreadOfSystem(const QVRSysThreadId& id) {
  const std::string path = "/proc/self/task/" + std::to_string(id.hash()) + "/stat";
  return access(path.c_str(), F_OK) == 0;
}

/// Waits until it has none any more: the kernel forgets a thread shortly after it lets others
/// join it.
inline void awaitEnd(const QVRSysThreadId& id) {
  while (isThreadOfSystem(id)) sched_yield();
}

/// Waits until the thread sleeps in the kernel, or has ended.
inline void awaitSleep(const QVRSysThreadId& id) {
  const std::string path = "/proc/self/task/" + std::to_string(id.hash()) + "/stat";
  for (std::string text; std::getline(std::ifstream(path), text);) {
    if (text.at(text.rfind(')') + 2) == 'S') return;
  }
}

/// A stack of this size, which no other thread has, goes to the next thread that asks for one
/// like it, once the system has it back.
inline constexpr std::size_t kRareStackSize = 16 * 1024 * 1024;

/// The stack of the calling thread.
inline void* stackAddress() {
  pthread_attr_t attributes;
  void* address = nullptr;
  std::size_t size = 0;
  pthread_getattr_np(pthread_self(), &attributes);
  pthread_attr_getstack(&attributes, &address, &size);
  pthread_attr_destroy(&attributes);
  return address;
}

/// Counts as long as it runs, so that a test sees whether it does.
class Counter {
 public:
  void operator()() {
    for (;;) count_.fetch_add(1, std::memory_order_relaxed);
  }

  bool hasStarted() const { return count_.load() != 0; }
  void awaitStart() const { awaitMore(0); }

  /// Waits until it has gone on.
  void awaitMore() const { awaitMore(count_.load()); }

  /// Whether it does not go on for a while.
  bool stands() const {
    const long before = count_.load();
    usleep(2000);
    return count_.load() == before;
  }

 private:
  void awaitMore(long before) const {
    while (count_.load() == before) sched_yield();
  }

  std::atomic<long> count_ = 0;
};
