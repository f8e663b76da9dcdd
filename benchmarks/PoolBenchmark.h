// The operations that sources of small blocks are timed by.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "LockBenchmark.h"

// A source has three static operations: allocate() gives a block of kBlockSize bytes,
// deallocate(block) takes it back, trim() gives what is free back to the system as far
// as the source can.
inline constexpr std::size_t kBlockSize = 64;

/// A block that has been written to, as the constructor of an object does.
template <class Source>
void* writtenBlock() {
  void* const block = Source::allocate();
  *static_cast<void* volatile*>(block) = block;
  return block;
}

template <class Source>
void blockPair(benchmark::State& state) {
  for (auto _ : state) Source::deallocate(writtenBlock<Source>());
}

/// A block for the oldest of 128 that live.
template <class Source>
void blockQueue(benchmark::State& state) {
  std::array<void*, 128> live;
  for (void*& block : live) block = writtenBlock<Source>();
  std::size_t oldest = 0;
  for (auto _ : state) {
    Source::deallocate(live[oldest]);
    live[oldest] = writtenBlock<Source>();
    oldest = (oldest + 1) % live.size();
  }
  for (void* block : live) Source::deallocate(block);
}

/// The numbers below count, in an order that is random and always the same.
inline std::vector<std::uint32_t> shuffledNumbers(std::size_t count) {
  std::vector<std::uint32_t> numbers(count);
  std::iota(numbers.begin(), numbers.end(), 0u);
  std::mt19937_64 random(count);
  std::shuffle(numbers.begin(), numbers.end(), random);
  return numbers;
}

/// Blocks that live at the same time, allocated one after the other and freed in a
/// random order.
template <class Source>
class LiveBlocks {
 public:
  explicit LiveBlocks(std::size_t count) : order_(shuffledNumbers(count)), live_(count) {}

  void allocateAll() {
    for (void*& block : live_) block = writtenBlock<Source>();
  }
  /// Looks each up in the order: costs nothing while all that fits the nearest cache.
  void freeByNumber() {
    for (const std::uint32_t number : order_) Source::deallocate(live_[number]);
  }
  void shuffle() {
    std::vector<void*> shuffled(live_.size());
    std::transform(order_.begin(), order_.end(), shuffled.begin(),
                   [this](std::uint32_t number) { return live_[number]; });
    live_.swap(shuffled);
  }
  void freeAll() {
    for (void* const block : live_) Source::deallocate(block);
  }

 private:
  const std::vector<std::uint32_t> order_;
  std::vector<void*> live_;
};

/// The processor's time that `work` takes.
template <class Work>
double secondsOf(Work work) {
  const std::clock_t begin = std::clock();
  work();
  return static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
}

/// Allocating and freeing so few blocks that reading the clock would cost as much. A
/// cycle before the first one has got the memory from the system.
template <class Source>
void cycleOfFew(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  LiveBlocks<Source> blocks(count);
  blocks.allocateAll();
  blocks.freeAll();
  while (state.KeepRunningBatch(static_cast<benchmark::IterationCount>(count))) {
    blocks.allocateAll();
    blocks.freeByNumber();
  }
}

/// Allocating and freeing many blocks, per block; the counters tell the nanoseconds of
/// each alone. It has a cycle before the first one too.
template <class Source>
void cycleOfMany(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  LiveBlocks<Source> blocks(count);
  blocks.allocateAll();
  blocks.freeAll();
  double allocating = 0;
  double freeing = 0;
  while (state.KeepRunningBatch(static_cast<benchmark::IterationCount>(count))) {
    const double allocated = secondsOf([&] { blocks.allocateAll(); });
    blocks.shuffle();
    const double freed = secondsOf([&] { blocks.freeAll(); });
    state.SetIterationTime(allocated + freed);
    allocating += allocated;
    freeing += freed;
  }
  const double perBlock = 1e9 / static_cast<double>(state.iterations());
  state.counters["allocating_ns"] = allocating * perBlock;
  state.counters["freeing_ns"] = freeing * perBlock;
  Source::trim();
}

using BlockBenchmark = void (*)(benchmark::State&);

inline benchmark::internal::Benchmark* addBlocks(const std::string& subject, const char* operation,
                                                 BlockBenchmark function) {
  const std::string name = subject + '/' + operation + '/' + std::to_string(kBlockSize);
  return benchmark::RegisterBenchmark(name.c_str(), function);
}

/// What one thread does with a source.
template <class Source>
bool timeBlocks(const std::string& subject) {
  const bool isSmall = std::getenv("QVR_BENCHMARK_SMALL") != nullptr;
  addBlocks(subject, "pair", blockPair<Source>);
  addBlocks(subject, "queue", blockQueue<Source>);
  addBlocks(subject, "live", cycleOfFew<Source>)->RangeMultiplier(10)->Range(10, 1'000);
  addBlocks(subject, "live", cycleOfMany<Source>)
      ->RangeMultiplier(10)
      ->Range(10'000, isSmall ? 10'000 : 10'000'000)
      ->UseManualTime();
  return true;
}

/// What two threads do with one source: time on the clock for each operation of both.
template <class Source>
bool timeSharedBlocks(const std::string& subject) {
  addBlocks(subject, "pair", blockPair<Source>)->Threads(2)->UseRealTime();
  addBlocks(subject, "queue", blockQueue<Source>)->Threads(2)->UseRealTime();
  return true;
}

template <class Source>
bool timeAllBlocks(const std::string& subject) {
  return timeBlocks<Source>(subject) && timeSharedBlocks<Source>(subject);
}
