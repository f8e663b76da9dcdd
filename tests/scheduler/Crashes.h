// Crashes of the code that is explored.
#pragma once

#include <csignal>
#include <cstddef>

namespace qvr::scheduler {

/// Makes a fatal signal in a thread of a scenario a failure of the schedule, for its
/// scope. So a wild pointer or an exception out of a noexcept function comes with the
/// steps that led there. What the crash has left of the heap is another question:
/// nothing should be explored after it.
class CrashesOfSchedule {
 public:
  CrashesOfSchedule();
  ~CrashesOfSchedule();

  CrashesOfSchedule(const CrashesOfSchedule&) = delete;
  CrashesOfSchedule& operator=(const CrashesOfSchedule&) = delete;

 private:
  static constexpr int kSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT};
  static constexpr std::size_t kSignalCount = sizeof(kSignals) / sizeof(kSignals[0]);

  struct sigaction before_[kSignalCount];
  stack_t stackBefore_;
};

}  // namespace qvr::scheduler
