// Wake-ups that wait until their giver has given its mutex back.
//
// Whoever is woken while another holds the mutex that it needs next only runs to
// sleep again. A thread has at most one such wake-up; it is given at the latest when
// the thread ends. Whoever ends a thread in another way than the C library does
// gives it for the thread.
#pragma once

#include <cstdint>
#include <utility>

#include "QVRSystem/internal/QVRAtomic.h"
#include "QVRSystem/internal/QVRThreadState.h"

namespace qvr::internal {

/// Gives the calling thread's deferred wake-up, if there is one.
inline void giveDeferredWake() noexcept {
  if (deferredWake() != nullptr) wakeOne(std::exchange(deferredWake(), nullptr));
}

/// Defers waking one thread that sleeps on `word`, which need not exist any more
/// then. Gives the one before it, and this one at once where its thread's end cannot
/// be watched.
inline void deferWake(std::uint32_t* word) noexcept {
  giveDeferredWake();
  deferredWake() = word;
  if (!watchThreadEnd()) giveDeferredWake();
}

}  // namespace qvr::internal
