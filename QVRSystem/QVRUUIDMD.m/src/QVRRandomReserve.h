// Random bytes from the kernel, fetched for several identifiers at once.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "QVRSystem/internal/QVRAtomic.h"

namespace qvr::internal {

using RandomBlock = std::array<std::uint8_t, 16>;

/// Tells a process from the one it was forked from, without a system call and without
/// fork handlers, which not every fork runs: by a page that the kernel wipes.
class ForkWitness {
 public:
  constexpr ForkWitness() = default;

  /// A number that no process that this one descends from had at the time of a fork;
  /// 0 where the system cannot wipe a page.
  std::uint64_t generation() noexcept;

 private:
  using Page = Atomic<std::uint64_t>;

  Page* page() noexcept;
  Page* makePage() noexcept;

  Atomic<Page*> page_ = nullptr;    // lasts as long as the process
  Atomic<std::uint64_t> last_ = 0;  // the last generation given, not wiped
};

/// Blocks that one thread has fetched ahead and not used. Never two takers get the same
/// one, be it a signal handler that interrupts its thread at any instruction or the
/// child that it forks there.
class RandomReserve {
 public:
  constexpr RandomReserve() = default;

  /// @return 0, or the error of the kernel's generator.
  int take(ForkWitness& witness, RandomBlock& block) noexcept;

 private:
  friend struct RandomReserveTestAccess;
  class Use;

  int takeAhead(ForkWitness& witness, RandomBlock& block) noexcept;
  int refill(std::uint64_t generation) noexcept;

  // Little more would be gained by more of them, and the memory of every thread that
  // libraries loaded later can share is small.
  static constexpr std::size_t kBlocks = 32;

  Atomic<bool> isInUse_ = false;  // only ever by its own thread
  std::uint64_t generation_ = 0;  // of the process that fetched the blocks
  std::size_t left_ = 0;
  std::array<RandomBlock, kBlocks> blocks_{};
};

/// Takes a block from the calling thread's reserve.
int takeRandomBlock(RandomBlock& block) noexcept;

}  // namespace qvr::internal
