// The operations that readers-writer locks are timed by.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>

#include "LockBenchmark.h"

template <class Lock>
void readPair(benchmark::State& state) {
  Guarded<Lock>& guarded = shared<Guarded<Lock>>();
  for (auto _ : state) {
    guarded.lock.lock_shared();
    benchmark::ClobberMemory();
    guarded.lock.unlock_shared();
  }
}

/// A read pair inside a read hold of the same thread.
template <class Lock>
void nestedRead(benchmark::State& state) {
  Guarded<Lock>& guarded = shared<Guarded<Lock>>();
  guarded.lock.lock_shared();
  for (auto _ : state) {
    guarded.lock.lock_shared();
    benchmark::ClobberMemory();
    guarded.lock.unlock_shared();
  }
  guarded.lock.unlock_shared();
}

/// Threads of which each writes at every twentieth step and reads otherwise.
template <class Lock>
void mostlyRead(benchmark::State& state) {
  Guarded<Lock>& guarded = shared<Guarded<Lock>>();
  constexpr int kStepsPerWrite = 20;
  int step = state.thread_index() * kStepsPerWrite / state.threads();
  for (auto _ : state) {
    if (++step == kStepsPerWrite) {
      step = 0;
      guarded.lock.lock();
      guarded.value = scramble(guarded.value);
      guarded.lock.unlock();
    } else {
      guarded.lock.lock_shared();
      benchmark::DoNotOptimize(scramble(guarded.value));
      guarded.lock.unlock_shared();
    }
  }
}

/// What readers-writer locks are timed by, those too that a thread can hold only once.
template <class Lock>
bool timeReadersWriter(const std::string& subject) {
  benchmark::RegisterBenchmark((subject + "/read pair").c_str(), readPair<Lock>);
  benchmark::RegisterBenchmark((subject + "/write pair").c_str(), pair<Lock>);
  benchmark::RegisterBenchmark((subject + "/95% reads").c_str(), mostlyRead<Lock>)
      ->Threads(4)
      ->UseRealTime();
  return true;
}

template <class Lock>
bool timeRecursiveReadersWriter(const std::string& subject) {
  benchmark::RegisterBenchmark((subject + "/nested read").c_str(), nestedRead<Lock>);
  return timeReadersWriter<Lock>(subject);
}
