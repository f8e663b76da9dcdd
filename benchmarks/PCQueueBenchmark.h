// The operation that queues between threads are timed by.
#pragma once

#include <benchmark/benchmark.h>

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

inline constexpr std::size_t kQueueCapacity = 1024;
inline constexpr std::uint64_t kQueuedItems = 1'000'000;

/// The queue that one writes in an afternoon.
template <class T>
class PlainQueue {
 public:
  explicit PlainQueue(std::size_t capacity) : capacity_(capacity) {}

  void put(T item) {
    std::unique_lock lock(mutex_);
    hasRoom_.wait(lock, [this] { return items_.size() < capacity_; });
    items_.push_back(std::move(item));
    hasItems_.notify_one();
  }

  void get(T& item) {
    std::unique_lock lock(mutex_);
    hasItems_.wait(lock, [this] { return !items_.empty(); });
    item = std::move(items_.front());
    items_.pop_front();
    hasRoom_.notify_one();
  }

 private:
  const std::size_t capacity_;
  std::mutex mutex_;
  std::condition_variable hasItems_;
  std::condition_variable hasRoom_;
  std::deque<T> items_;
};

/// The items go through a queue from so many producers to as many consumers.
template <class Queue>
void transfer(benchmark::State& state) {
  const auto sides = static_cast<std::uint64_t>(state.range(0));
  for (auto _ : state) {
    Queue queue(kQueueCapacity);
    std::vector<std::thread> threads;
    for (std::uint64_t side = 0; side < sides; ++side) {
      threads.emplace_back([&queue, share = kQueuedItems / sides] {
        for (std::uint64_t i = 0; i < share; ++i) queue.put(i);
      });
      threads.emplace_back([&queue, share = kQueuedItems / sides] {
        std::uint64_t sum = 0;
        for (std::uint64_t i = 0; i < share; ++i) {
          std::uint64_t item = 0;
          queue.get(item);
          sum += item;
        }
        benchmark::DoNotOptimize(sum);
      });
    }
    for (std::thread& thread : threads) thread.join();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kQueuedItems));
}

/// The time is that of all items, on the clock.
template <class Queue>
bool timeTransfer(const std::string& subject) {
  benchmark::RegisterBenchmark((subject + "/transfer").c_str(), transfer<Queue>)
      ->Arg(1)
      ->Arg(2)
      ->UseRealTime()
      ->Unit(benchmark::kMillisecond);
  return true;
}
