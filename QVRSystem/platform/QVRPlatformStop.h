// Stopping a thread wherever it is: a signal, and what it finds.
//
// Functions that return a number return 0 or the system's error number; none throws.
#pragma once

#include <cstdint>

#include "QVRSystem/platform/QVRPlatformNamespace.h"

namespace qvr {

/// A timer that sends a thread the signal.
using PlatformStopTimer = void*;

/// Where the instruction is at which a signal found its thread.
enum class PlatformPlace {
  kElsewhere,     // in code of others, or asleep in the kernel for itself
  kInSystem,      // in the system's libraries: it may hold a lock of theirs, and soon does not
  kAwaitsSystem,  // as before, but asleep until another thread gives such a lock back
  kUnderLoader,   // in code of others, called by the dynamic loader with its lock held
};

/// Where a thread was found last, and how many times running; all zero at first.
struct PlatformWhereabouts {
  std::uintptr_t instruction = 0;
  std::uintptr_t stack = 0;
  std::uint32_t times = 0;
};

}  // namespace qvr

namespace qvr::QVR_PLATFORM {

/// From now on has `handler` called, with all signals blocked, on each thread that gets
/// the signal of requestStop(). `context` says where the thread was, for placeOf().
int handleStops(void (*handler)(const void* context)) noexcept;

/// Lets that signal through to the calling thread.
int allowStops() noexcept;

/// Sends it. EAGAIN says that too many signals wait at present.
int requestStop(std::uint32_t threadId) noexcept;

/// Makes a timer that does so, not running.
int createStopTimer(PlatformStopTimer& made, std::uint32_t threadId) noexcept;

/// Has it send the signal once, after so long. For handlers too.
int startStopTimer(PlatformStopTimer timer, std::uint64_t nanoseconds) noexcept;

int closeStopTimer(PlatformStopTimer timer) noexcept;

/// For the handler only. @param whereabouts what the calls for this thread have in common.
PlatformPlace placeOf(const void* context, PlatformWhereabouts& whereabouts) noexcept;

}  // namespace qvr::QVR_PLATFORM
