// The operations that thread pools are timed by.
//
// A pool is a class with two workers that run once it is made. `runEmpty()` has one of them do
// nothing, `runNoting(began)` note when it begins; `awaitAll()` returns when all has run.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <latch>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

inline constexpr int kPoolWorkers = 2;
inline constexpr int kPoolTasks = 1'000'000;

/// What a task notes: the moment at which it began, where somebody asked for it.
class Began {
 public:
  using Clock = std::chrono::steady_clock;

  void note() {
    at_ = Clock::now();
    seen_.store(true, std::memory_order_release);
  }
  Clock::time_point await() {
    while (!seen_.load(std::memory_order_acquire)) std::this_thread::yield();
    seen_.store(false, std::memory_order_relaxed);
    return at_;
  }

 private:
  Clock::time_point at_;
  std::atomic<bool> seen_ = false;
};

/// Waits until a pool that takes tasks in the order in which they came has run all: by then
/// each worker runs one that waits for the others.
template <class Pool>
void awaitAllWorkers(Pool& pool) {
  const auto all = std::make_shared<std::latch>(kPoolWorkers + 1);
  for (int worker = 0; worker < kPoolWorkers; ++worker) {
    pool.run([all] { all->arrive_and_wait(); });
  }
  all->arrive_and_wait();
}

/// The pool that one writes in an afternoon.
class PlainPool {
 public:
  PlainPool() {
    for (int i = 0; i < kPoolWorkers; ++i) workers_.emplace_back([this] { work(); });
  }
  ~PlainPool() {
    for (int i = 0; i < kPoolWorkers; ++i) run({});
    for (std::thread& worker : workers_) worker.join();
  }

  void run(std::function<void()> task) {
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
    hasTasks_.notify_one();
  }
  void runEmpty() {
    run([] {});
  }
  void runNoting(Began& began) {
    run([&began] { began.note(); });
  }
  void awaitAll() { awaitAllWorkers(*this); }

 private:
  void work() {
    for (;;) {
      std::unique_lock lock(mutex_);
      hasTasks_.wait(lock, [this] { return !tasks_.empty(); });
      const std::function<void()> task = std::move(tasks_.front());
      tasks_.pop_front();
      lock.unlock();
      if (!task) return;
      task();
    }
  }

  std::mutex mutex_;
  std::condition_variable hasTasks_;
  std::deque<std::function<void()>> tasks_;
  std::vector<std::thread> workers_;
};

/// Empty tasks, made and enqueued by so many producers, until the last has run.
template <class Pool>
void runEmpty(benchmark::State& state) {
  const auto producers = static_cast<int>(state.range(0));
  Pool pool;
  for (auto _ : state) {
    std::vector<std::thread> threads;
    for (int producer = 0; producer < producers; ++producer) {
      threads.emplace_back([&pool, share = kPoolTasks / producers] {
        for (int i = 0; i < share; ++i) pool.runEmpty();
      });
    }
    for (std::thread& thread : threads) thread.join();
    pool.awaitAll();
  }
  state.SetItemsProcessed(state.iterations() * kPoolTasks);
}

/// From the moment before a task is made to that at which it begins, with workers that have
/// had nothing to do for a while. The time is the median.
template <class Pool>
void runWhenIdle(benchmark::State& state) {
  constexpr auto kPause = std::chrono::microseconds(500);
  constexpr std::size_t kRounds = 500;
  Pool pool;
  Began began;
  std::vector<double> delays(kRounds);
  double latest = 0;
  for (auto _ : state) {
    for (double& delay : delays) {
      std::this_thread::sleep_for(kPause);
      const auto asked = Began::Clock::now();
      pool.runNoting(began);
      delay = std::chrono::duration<double>(began.await() - asked).count();
    }
    std::sort(delays.begin(), delays.end());
    state.SetIterationTime(delays[kRounds / 2]);
    latest += delays[kRounds * 99 / 100];
  }
  pool.awaitAll();
  state.counters["p99"] = benchmark::Counter(latest, benchmark::Counter::kAvgIterations);
}

/// The time is that of all tasks, on the clock.
template <class Pool>
bool timeEmpty(const std::string& subject, const std::string& operation) {
  benchmark::RegisterBenchmark((subject + "/" + operation).c_str(), runEmpty<Pool>)
      ->Arg(1)
      ->Arg(2)
      ->UseRealTime()
      ->Unit(benchmark::kMillisecond);
  return true;
}

template <class Pool>
bool timePool(const std::string& subject) {
  benchmark::RegisterBenchmark((subject + "/idle").c_str(), runWhenIdle<Pool>)
      ->UseManualTime()
      ->Iterations(4);
  return timeEmpty<Pool>(subject, "empty");
}
