// What the thin layer of the library calls when it is compiled for the scheduler.
#pragma once

#include <cstdint>

namespace qvr::scheduler {

/// What a thread is about to do; for the trace.
enum class Operation : std::uint8_t {
  Step,
  Load,
  Store,
  Exchange,
  CompareExchange,
  Add,
  And,
  Or,
  Wait,
  Wake,
  Yield,
  TakeMutex,
  GiveMutexBack,
  CloseMutex,
};

inline constinit bool threadRuns = false;

/// Whether the caller is a thread of a scenario. Set-up, invariants and final
/// checks are not: there an operation is the plain one, and no scheduling point.
inline bool onThread() noexcept { return threadRuns; }

// Most of the following are for threads of a scenario only.

/// Lets the strategy run others first. The caller then performs its operation.
void point(Operation operation, const void* word) noexcept;

/// Says for the trace what the operation found in its word and left there.
void note(std::uint64_t before, std::uint64_t after) noexcept;

/// Puts the caller to sleep until it is woken at this address.
void sleepOn(const void* address) noexcept;

/// Wakes one of those that sleep at the address, any of them.
/// @return whether there was one.
bool wakeOne(const void* address) noexcept;

/// Wakes those that sleep at the address.
/// @return whether there was one.
bool wakeAll(const void* address) noexcept;

/// Keeps those that sleep at the address and were woken from running after all,
/// unless they ran already.
void sleepAgain(const void* address) noexcept;

/// Lets the other threads go first.
void yieldToOthers() noexcept;

/// Whether an operation that may fail or return for no reason does so now.
bool happensForNoReason() noexcept;

/// Numbers the threads of a scenario from 1, as they were added; another number
/// where the caller is none of them.
std::uint32_t threadNumber() noexcept;

/// How many short sections the caller is inside.
std::uint32_t& shortSections() noexcept;

/// What the caller is to wake when it ends; null where there is nothing.
std::uint32_t*& deferredWake() noexcept;

/// Ends the process: somebody who is no thread of a scenario would wait for ever.
[[noreturn]] void refuseToWait() noexcept;

}  // namespace qvr::scheduler
