// Code that is interrupted at every instruction.
#pragma once

#include <csignal>
#include <cstddef>
#include <functional>

// By the processor's trap flag; the run-time of ThreadSanitizer stands no handler
// between its own instructions.
#if defined(__x86_64__) && !defined(__SANITIZE_THREAD__)
#define QVR_CAN_SINGLE_STEP 1
#include <ucontext.h>

namespace single_step {

inline volatile bool isWanted = false;
inline const std::function<void()>* handler = nullptr;

inline void onTrap(int /*signal*/, siginfo_t* /*info*/, void* context) {
  constexpr greg_t kTrapFlag = 0x100;
  if (isWanted) {
    (*handler)();
  } else {
    static_cast<ucontext_t*>(context)->uc_mcontext.gregs[REG_EFL] &= ~kTrapFlag;
  }
}

}  // namespace single_step

/// Runs `operation` on this thread, and behind each of its instructions `handler`, in a
/// signal handler. A child forked there goes on in the same way.
inline void runInSingleSteps(const std::function<void()>& operation,
                             const std::function<void()>& handler) {
  struct sigaction trap = {};
  trap.sa_sigaction = &single_step::onTrap;
  trap.sa_flags = SA_SIGINFO;
  struct sigaction before;
  sigaction(SIGTRAP, &trap, &before);
  single_step::handler = &handler;
  single_step::isWanted = true;
  // Below the red zone of this function, should it have one.
  asm volatile(
      "lea -128(%%rsp), %%rsp\n\t"
      "pushfq\n\t"
      "orq $0x100, (%%rsp)\n\t"
      "popfq\n\t"
      "lea 128(%%rsp), %%rsp" ::
          : "memory", "cc");
  operation();
  single_step::isWanted = false;
  sigaction(SIGTRAP, &before, nullptr);
}
#endif
