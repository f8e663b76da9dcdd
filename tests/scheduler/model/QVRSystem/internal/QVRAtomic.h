// Takes the place of the library's QVRAtomic.h: waiting, waking and yielding are
// the scheduler's.
#pragma once

#include <cstdint>

#include "QVRAtomicAccess.h"
#include "scheduler/SchedulingPoint.h"

namespace qvr::internal {

using AtomicWord = AtomicRef<std::uint32_t>;

inline void waitWhile(std::uint32_t& word, std::uint32_t expected) noexcept {
  if (!scheduler::onThread()) scheduler::refuseToWait();
  scheduler::point(scheduler::Operation::Wait, &word);
  scheduler::note(word, word);
  if (word != expected) return;
  if (scheduler::happensForNoReason()) {
    scheduler::yieldToOthers();
  } else {
    scheduler::sleepOn(&word);
  }
}

inline void wakeOne(std::uint32_t* word) noexcept {
  if (!scheduler::onThread()) return;
  scheduler::point(scheduler::Operation::Wake, word);
  const bool woke = scheduler::wakeOne(word);
  scheduler::note(woke, woke);
}

inline void wakeAll(std::uint32_t* word) noexcept {
  if (!scheduler::onThread()) return;
  scheduler::point(scheduler::Operation::Wake, word);
  const bool woke = scheduler::wakeAll(word);
  scheduler::note(woke, woke);
}

inline void relax() noexcept {}

/// One shows what any number of them do.
inline constexpr int kYieldsBeforeSleep = 1;

inline void yield() noexcept {
  if (scheduler::onThread()) scheduler::yieldToOthers();
}

/// Between looks at what another thread is to write.
inline void pause() noexcept { yield(); }

}  // namespace qvr::internal
