// Takes the place of the library's QVRThreadState.h: a thread is one of the
// scenario's.
#pragma once

#include <cstdint>
#include <utility>

#include "QVRSystem/internal/QVRBiasedThread.h"
#include "scheduler/SchedulingPoint.h"

namespace qvr::internal {

inline std::uint32_t currentThreadId() noexcept { return scheduler::threadNumber(); }

inline std::uint32_t refreshThreadId() noexcept { return currentThreadId(); }

inline std::uint64_t knownThreadSerial() noexcept { return scheduler::threadNumber(); }

inline std::uint64_t currentThreadSerial() noexcept { return scheduler::threadNumber(); }

/// Those of the threads of a scenario, which puts them back.
inline constinit BiasedThread biasedThreads[9];

inline BiasedThread* knownBiasedThread() noexcept {
  return &biasedThreads[scheduler::threadNumber()];
}

inline void prepareBiasedThread() noexcept {}

inline std::uint32_t*& deferredWake() noexcept { return scheduler::deferredWake(); }

/// The scheduler gives the wake-up of a thread that ends.
inline bool watchThreadEnd() noexcept { return scheduler::onThread(); }

inline std::uint32_t beginShortSection() noexcept { return scheduler::shortSections()++; }

inline void endShortSection(std::uint32_t outer) noexcept { scheduler::shortSections() = outer; }

/// The scheduler fails a thread that ends inside one.
class ShortSection {
 public:
  ShortSection() noexcept { ++scheduler::shortSections(); }
  ~ShortSection() { --scheduler::shortSections(); }

  ShortSection(const ShortSection&) = delete;
  ShortSection& operator=(const ShortSection&) = delete;
};

/// As much of it as is read by name.
struct ThreadState {
  struct Marks {
    std::uint32_t load() const noexcept { return scheduler::shortSections(); }
  };
  Marks shortSections;
};
inline constexpr ThreadState threadState{};

/// Nothing ends the scheduler's threads from outside.
class EndableWait {
 public:
  virtual void leave() noexcept = 0;

  EndableWait(const EndableWait&) = delete;
  EndableWait& operator=(const EndableWait&) = delete;

 protected:
  EndableWait() = default;
  ~EndableWait() = default;

  void begin() noexcept {}
  void end() noexcept {}
};

class LockWait {
 public:
  explicit LockWait(std::uint32_t& /*word*/) noexcept {}
};

class LockSleep {
 public:
  LockSleep() noexcept {}
};

class OpenWait {
 public:
  OpenWait() noexcept {}
  ~OpenWait() {}
};

class ShortSectionPause {
 public:
  ShortSectionPause() noexcept : marks_(std::exchange(scheduler::shortSections(), 0)) {}
  ~ShortSectionPause() { scheduler::shortSections() = marks_; }

  ShortSectionPause(const ShortSectionPause&) = delete;
  ShortSectionPause& operator=(const ShortSectionPause&) = delete;

 private:
  const std::uint32_t marks_;
};

}  // namespace qvr::internal
