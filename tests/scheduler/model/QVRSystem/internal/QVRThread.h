// Takes the place of the library's QVRThread.h: threads are made of the scenario's carriers.
// They are neither suspended nor cancelled.
#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "scheduler/Carriers.h"
#include "scheduler/SchedulingPoint.h"

namespace qvr::internal {

struct ThreadWork {
  void (*run)(void* what) = nullptr;
  bool (*drop)(void* what) = nullptr;
  void (*destroy)(void* what) = nullptr;
  void* what = nullptr;
};

struct ThreadSettings {
  std::size_t stackSize = 0;
  int niceValue = 0;
  bool isSuspended = false;
  bool isJoinable = true;
};

class Thread {
 public:
  static constexpr long kFailed = -1;

  explicit Thread(const ThreadWork& work) noexcept : work_(work) {}

  int start(const ThreadSettings&) noexcept {
    auto work = std::make_unique<ThreadWork>(work_);
    carrier_ = scheduler::takeCarrier(&runWork, work.get());
    if (carrier_ == nullptr) return EAGAIN;
    work.release();
    return 0;
  }

  std::uint32_t id() noexcept { return carrier_->number; }
  bool isCaller() const noexcept {
    return carrier_ != nullptr && carrier_->number == scheduler::threadNumber();
  }

  bool join() noexcept {
    if (carrier_ == nullptr) return false;
    scheduler::awaitEnd(*carrier_);
    return true;
  }

  void letGo() {
    if (carrier_ == nullptr) dropWork(work_);
    delete this;
  }

  long suspend() noexcept { return kFailed; }
  long suspendCaller() noexcept { return kFailed; }
  void stand() noexcept {}
  long resume() noexcept { return kFailed; }
  bool cancel() noexcept { return false; }
  bool setNiceValue(int) noexcept { return false; }
  static void leave() noexcept {}
  static void continueInChild() noexcept {}

 private:
  ~Thread() = default;

  static void runWork(void* work) {
    const std::unique_ptr<ThreadWork> taken(static_cast<ThreadWork*>(work));
    if (taken->what == nullptr) return;
    taken->run(taken->what);
    dropWork(*taken);
  }
  static void dropWork(const ThreadWork& work) {
    if (work.what != nullptr && work.drop(work.what)) work.destroy(work.what);
  }

  const ThreadWork work_;
  scheduler::Carrier* carrier_ = nullptr;
};

}  // namespace qvr::internal
