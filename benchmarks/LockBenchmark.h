// The operations that locks of every kind are timed by.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <thread>

/// Starts a thread: before the first one the C library's locks do without atomics,
/// which no program sees that needs locks.
inline const bool hasStartedThread = [] {
  std::thread([] {}).join();
  return true;
}();

/// A lock with what it guards, on cache lines of their own.
template <class Lock>
struct alignas(128) Guarded {
  Lock lock;
  std::uint64_t value = 1;
};

/// What all threads of a benchmark share, at an address that only the run tells, as
/// that of a member is.
template <class T>
T& shared() {
  static T instance;
  T* address = &instance;
  benchmark::DoNotOptimize(address);
  return *address;
}

/// One of our locks, under the operation names of the others.
template <class Ours>
struct Named : Ours {
  void lock() { Ours::acquire(); }
  void unlock() { Ours::release(); }
};

/// The work done with a lock and without it where threads contend: some nanoseconds.
inline std::uint64_t scramble(std::uint64_t value) {
  for (int i = 0; i < 4; ++i) value = value * 6364136223846793005u + 1442695040888963407u;
  return value;
}

template <class Lock>
void pair(benchmark::State& state) {
  Guarded<Lock>& guarded = shared<Guarded<Lock>>();
  for (auto _ : state) {
    guarded.lock.lock();
    benchmark::ClobberMemory();
    guarded.lock.unlock();
  }
}

/// The pair inside a hold of the same thread.
template <class Lock>
void nested(benchmark::State& state) {
  Guarded<Lock>& guarded = shared<Guarded<Lock>>();
  guarded.lock.lock();
  for (auto _ : state) {
    guarded.lock.lock();
    benchmark::ClobberMemory();
    guarded.lock.unlock();
  }
  guarded.lock.unlock();
}

/// Taking a free lock without waiting, and giving it back.
template <class Lock>
void tryPair(benchmark::State& state) {
  Guarded<Lock>& guarded = shared<Guarded<Lock>>();
  for (auto _ : state) {
    benchmark::DoNotOptimize(guarded.lock.try_lock());
    guarded.lock.unlock();
  }
}

/// Threads that spend about as much time with the lock as without it.
template <class Lock>
void contended(benchmark::State& state) {
  Guarded<Lock>& guarded = shared<Guarded<Lock>>();
  auto own = static_cast<std::uint64_t>(state.thread_index());
  for (auto _ : state) {
    guarded.lock.lock();
    guarded.value = scramble(guarded.value);
    guarded.lock.unlock();
    benchmark::DoNotOptimize(own = scramble(own));
  }
}

template <class Lock>
bool timePair(const std::string& subject) {
  benchmark::RegisterBenchmark((subject + "/pair").c_str(), pair<Lock>);
  return true;
}

template <class Lock>
bool timeNested(const std::string& subject) {
  benchmark::RegisterBenchmark((subject + "/nested").c_str(), nested<Lock>);
  return true;
}

template <class Lock>
bool timeTry(const std::string& subject) {
  benchmark::RegisterBenchmark((subject + "/try").c_str(), tryPair<Lock>);
  return true;
}

/// The throughput of all threads together: time on the clock per section.
template <class Lock>
bool timeContended(const std::string& subject, int threads) {
  benchmark::RegisterBenchmark((subject + "/contended").c_str(), contended<Lock>)
      ->Threads(threads)
      ->UseRealTime();
  return true;
}

/// What a recursive lock is timed by.
template <class Lock>
bool timeRecursive(const std::string& subject) {
  return timePair<Lock>(subject) && timeNested<Lock>(subject) && timeContended<Lock>(subject, 2) &&
         timeContended<Lock>(subject, 8);
}

/// What a lock is timed by that a thread can hold only once.
template <class Lock>
bool timePlain(const std::string& subject) {
  return timePair<Lock>(subject) && timeContended<Lock>(subject, 2) &&
         timeContended<Lock>(subject, 8);
}
