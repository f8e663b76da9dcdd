// What the library keeps per thread.
#pragma once

#include <cstdint>
#include <utility>

#include "QVRThreadIdAccess.h"

namespace qvr::internal {

struct ThreadState {
  std::uint32_t shortSections = 0;        // how many the thread is inside
  std::uint64_t serial = 0;               // its number in the process; 0 until first asked for
  std::uint32_t* deferredWake = nullptr;  // as QVRDeferredWake.h says
  bool isEndWatched = false;              // whether its end makes up for that
};

// Initial-exec: one read to reach, and safe to read in a signal handler.
extern constinit thread_local ThreadState threadState __attribute__((tls_model("initial-exec")));

/// Asks the kernel and keeps the answer.
std::uint32_t refreshThreadId() noexcept;

/// The kernel's identifier of the calling thread; never 0, right again in the
/// child of a fork.
inline std::uint32_t currentThreadId() noexcept {
  const std::uint32_t id = knownThreadId();
  return id != kUnknownThreadId ? id : refreshThreadId();
}

/// Numbers the calling thread and keeps the number.
std::uint64_t makeThreadSerial() noexcept;

/// The number of the calling thread, which no other thread of the process has had
/// or will have, unlike the kernel's identifier; never 0, the same in the child of
/// a fork.
inline std::uint64_t currentThreadSerial() noexcept {
  const std::uint64_t serial = threadState.serial;
  return serial != 0 ? serial : makeThreadSerial();
}

/// The word of the calling thread's deferred wake-up; null where there is none.
inline std::uint32_t*& deferredWake() noexcept { return threadState.deferredWake; }

/// Has the end of the calling thread noticed, for the first time or again.
bool startWatchingThreadEnd() noexcept;

/// Sees to it that the calling thread's deferred wake-up is given when it ends.
/// @return whether it will be.
inline bool watchThreadEnd() noexcept {
  return threadState.isEndWatched || startWatchingThreadEnd();
}

/// Marks a short critical section of the library for its scope: whoever would
/// suspend or end the thread lets it out first. No caller's code runs inside.
class ShortSection {
 public:
  ShortSection() noexcept { ++threadState.shortSections; }
  ~ShortSection() { --threadState.shortSections; }

  ShortSection(const ShortSection&) = delete;
  ShortSection& operator=(const ShortSection&) = delete;
};

/// Takes all marks off for its scope, in which a caller's code runs.
class ShortSectionPause {
 public:
  ShortSectionPause() noexcept : marks_(std::exchange(threadState.shortSections, 0)) {}
  ~ShortSectionPause() { threadState.shortSections = marks_; }

  ShortSectionPause(const ShortSectionPause&) = delete;
  ShortSectionPause& operator=(const ShortSectionPause&) = delete;

 private:
  const std::uint32_t marks_;
};

}  // namespace qvr::internal
