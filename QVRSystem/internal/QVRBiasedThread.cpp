#include "QVRSystem/internal/QVRBiasedThread.h"

#include <algorithm>
#include <array>

#include "QVRSystem/internal/QVRAtomic.h"
#include "QVRSystem/internal/QVRThreadState.h"
#include "QVRSystem/platform/QVRPlatformThread.h"

namespace qvr::internal {

constinit BiasedThread noBiasedThread;

namespace {

constexpr std::size_t kMostThreads = 512;
constinit std::array<BiasedThread, kMostThreads> biasedThreads;

// Acquire pairs with giveBack(): what the last thread did by its biases is visible.
bool take(BiasedThread& thread) noexcept {
  std::uint32_t isTaken = 0;
  return AtomicWord(thread.isTaken)
      .compare_exchange_strong(isTaken, 1, std::memory_order_acquire, std::memory_order_relaxed);
}

void giveBack(BiasedThread& thread) noexcept {
  AtomicWord(thread.isTaken).store(0, std::memory_order_release);
}

}  // namespace

void takeBiasedThread() noexcept {
  threadState.hasAskedForBias = true;
  if (!watchThreadEnd() || platform::prepareBarrierOfAllThreads() != 0) return;
  BiasedThread* const free = std::find_if(biasedThreads.begin(), biasedThreads.end(), take);
  if (free != biasedThreads.end()) threadState.biasedThread = free;
}

void giveBiasedThreadBack() noexcept {
  if (threadState.biasedThread == &noBiasedThread) return;
  BiasedThread& thread = *threadState.biasedThread;
  threadState.biasedThread = &noBiasedThread;
  giveBack(thread);
}

// Some of them may have been about to look whether their biases hold.
void forgetOtherBiasedThreads() noexcept {
  for (BiasedThread& thread : biasedThreads) {
    const bool isTaken = AtomicWord(thread.isTaken).load(std::memory_order_relaxed) != 0;
    if (&thread == threadState.biasedThread || !isTaken) continue;
    const AtomicWord turns(thread.turns);
    const std::uint32_t seen = turns.load(std::memory_order_relaxed);
    turns.store(seen + seen % 2, std::memory_order_relaxed);
    giveBack(thread);
  }
}

}  // namespace qvr::internal
