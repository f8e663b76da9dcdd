#include "scheduler/Crashes.h"

#include <cstring>
#include <string>

#include "scheduler/Execution.h"
#include "scheduler/Sanitizer.h"

namespace qvr::scheduler {

#ifdef QVR_SCHEDULER_UNDER_ASAN

// The sanitizer tells more of a crash than the steps do.
CrashesOfSchedule::CrashesOfSchedule() : before_(), stackBefore_() {}
CrashesOfSchedule::~CrashesOfSchedule() = default;

#else

namespace {

constexpr std::size_t kStackSize = 64 * 1024;

// The handler's own: the thread's may be what overflowed.
constinit char handlerStack[kStackSize] = {};

extern "C" void qvrSchedulerCrashed(int signal) {
  Execution& execution = Execution::instance();
  if (execution.current() != Fibers::kCaller) {
    // Leaves this stack for that of the caller and does not come back.
    execution.fail(std::string("crashed: ") + strsignal(signal));
  }
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

}  // namespace

CrashesOfSchedule::CrashesOfSchedule() {
  stack_t stack = {};
  stack.ss_sp = handlerStack;
  stack.ss_size = kStackSize;
  sigaltstack(&stack, &stackBefore_);
  struct sigaction action = {};
  action.sa_handler = &qvrSchedulerCrashed;
  // Not blocked during the handler, which does not return.
  action.sa_flags = SA_ONSTACK | SA_NODEFER;
  for (std::size_t i = 0; i < kSignalCount; ++i) sigaction(kSignals[i], &action, &before_[i]);
}

CrashesOfSchedule::~CrashesOfSchedule() {
  for (std::size_t i = 0; i < kSignalCount; ++i) sigaction(kSignals[i], &before_[i], nullptr);
  sigaltstack(&stackBefore_, nullptr);
}

#endif

}  // namespace qvr::scheduler
