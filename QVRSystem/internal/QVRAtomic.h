// The one place from which the library takes its atomics, its waiting and waking
// and its yielding.
//
// Sources that go through here can be compiled against a scheduler that takes
// the place of these names and explores interleavings; in the library they are
// the plain operations.
#pragma once

#include <cstdint>
#include <limits>

#include "QVRAtomicAccess.h"
#include "QVRSystem/platform/QVRPlatformThread.h"

namespace qvr::internal {

/// Atomic access to the word on which threads can wait.
using AtomicWord = AtomicRef<std::uint32_t>;

/// Sleeps while `word` holds `expected`; may return for no reason.
inline void waitWhile(std::uint32_t& word, std::uint32_t expected) noexcept {
  // A failure means that the word changed or a signal came: the caller looks again.
  platform::waitWhile(word, expected);
}

/// Wakes one thread that sleeps on `word`, if there is one.
inline void wakeOne(std::uint32_t* word) noexcept { platform::wake(word, 1); }

/// Wakes all threads that sleep on `word`.
inline void wakeAll(std::uint32_t* word) noexcept {
  platform::wake(word, std::numeric_limits<int>::max());
}

inline void yield() noexcept { platform::yield(); }

/// Lets some ten nanoseconds go by, between looks at memory that others write to.
inline void pause() noexcept {
#if defined(__x86_64__)
  __builtin_ia32_pause();
#elif defined(__aarch64__)
  asm volatile("isb");
#endif
}

/// How often a thread yields that would sleep otherwise, where others are expected to end its
/// wait soon: in about the time that falling asleep and being woken take.
inline constexpr int kYieldsBeforeSleep = 10;

/// Lets some hundred nanoseconds go by without a look at any memory.
inline void relax() noexcept {
  constexpr int kPauses = 32;
  for (int i = 0; i < kPauses; ++i) pause();
}

}  // namespace qvr::internal
