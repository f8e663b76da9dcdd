#include "QVRRandomReserve.h"

#include <atomic>
#include <new>

#include "QVRSystem/internal/QVRThreadState.h"
#include "QVRSystem/platform/QVRPlatformRandom.h"

namespace qvr::internal {

namespace {

constinit ForkWitness processWitness;

// Initial-exec: nothing is allocated for it, nothing lost with a cancelled thread, and
// a signal handler can reach it.
constinit thread_local RandomReserve threadReserve __attribute__((tls_model("initial-exec")));

int fill(RandomBlock& block) noexcept { return platform::randomBytes(block.data(), block.size()); }

}  // namespace

std::uint64_t ForkWitness::generation() noexcept {
  Page* const page = this->page();
  if (page == nullptr) return 0;
  // Relaxed: it is only a number, nothing comes with it.
  std::uint64_t generation = page->load(std::memory_order_relaxed);
  if (generation != 0) return generation;
  // The first to ask in this process. Whoever comes second takes what the first wrote.
  const std::uint64_t fresh = last_.fetch_add(1, std::memory_order_relaxed) + 1;
  return page->compare_exchange_strong(generation, fresh) ? fresh : generation;
}

ForkWitness::Page* ForkWitness::page() noexcept {
  // Pairs with makePage(): the page is an object.
  Page* const page = page_.load(std::memory_order_acquire);
  if (page == nullptr) return makePage();
  return page;
}

ForkWitness::Page* ForkWitness::makePage() noexcept {
  const ShortSection section;
  void* memory;
  if (platform::mapWipedOnFork(sizeof(Page), memory) != 0) return nullptr;
  Page* known = nullptr;
  Page* const made = new (memory) Page(0);
  if (page_.compare_exchange_strong(known, made)) return made;
  platform::unmapWipedOnFork(memory, sizeof(Page));
  return known;
}

/// The fences keep the compiler from moving the use out from between its marks, which a
/// signal handler reads.
class RandomReserve::Use {
 public:
  explicit Use(RandomReserve& reserve) noexcept : isInUse_(reserve.isInUse_) {
    isInUse_.store(true, std::memory_order_relaxed);
    std::atomic_signal_fence(std::memory_order_seq_cst);
  }
  ~Use() {
    std::atomic_signal_fence(std::memory_order_seq_cst);
    isInUse_.store(false, std::memory_order_relaxed);
  }

  Use(const Use&) = delete;
  Use& operator=(const Use&) = delete;

 private:
  Atomic<bool>& isInUse_;
};

int RandomReserve::take(ForkWitness& witness, RandomBlock& block) noexcept {
  // A handler that interrupts the use of the reserve leaves it alone.
  if (isInUse_.load(std::memory_order_relaxed)) return fill(block);
  const Use use(*this);
  return takeAhead(witness, block);
}

int RandomReserve::takeAhead(ForkWitness& witness, RandomBlock& block) noexcept {
  for (;;) {
    const std::uint64_t generation = witness.generation();
    if (generation == 0) return fill(block);
    if (left_ == 0 || generation_ != generation) {
      if (const int error = refill(generation); error != 0) return error;
    }
    block = blocks_[--left_];
    std::atomic_signal_fence(std::memory_order_seq_cst);
    // A handler has not forked meanwhile: the block is not the other process's too.
    if (witness.generation() == generation) return 0;
  }
}

int RandomReserve::refill(std::uint64_t generation) noexcept {
  left_ = 0;
  generation_ = generation;
  const int error = platform::randomBytes(blocks_.data(), sizeof blocks_);
  if (error == 0) left_ = kBlocks;
  return error;
}

int takeRandomBlock(RandomBlock& block) noexcept {
  return threadReserve.take(processWitness, block);
}

}  // namespace qvr::internal
