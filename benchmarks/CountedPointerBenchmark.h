// The operations that shared pointers of every kind are timed by.
#pragma once

#include <benchmark/benchmark.h>

#include <string>
#include <thread>
#include <utility>

/// Starts a thread: before the first one the standard library counts without atomics,
/// which no program sees whose threads share objects.
inline const bool hasStartedThread = [] {
  std::thread([] {}).join();
  return true;
}();

/// The object that all threads share. Made once for each kind of pointer.
template <class Pointer>
Pointer& shared(Pointer (*make)()) {
  static Pointer pointer = make();
  return pointer;
}

/// A further holder that comes and goes; what it points to is looked at as a caller would.
template <class Pointer>
void copy(benchmark::State& state, Pointer (*make)()) {
  const Pointer own = shared(make);
  for (auto _ : state) {
    Pointer copied(own);
    benchmark::DoNotOptimize(&*copied);
  }
}

/// To another pointer and back.
template <class Pointer>
void move(benchmark::State& state, Pointer (*make)()) {
  Pointer here = make();
  Pointer there;
  for (auto _ : state) {
    benchmark::DoNotOptimize(here);
    there = std::move(here);
    benchmark::DoNotOptimize(there);
    here = std::move(there);
  }
}

template <class Pointer>
bool timePointer(const std::string& subject, Pointer (*make)()) {
  benchmark::RegisterBenchmark((subject + "/copy").c_str(), copy<Pointer>, make);
  benchmark::RegisterBenchmark((subject + "/copy").c_str(), copy<Pointer>, make)
      ->Threads(2)
      ->UseRealTime();
  benchmark::RegisterBenchmark((subject + "/move").c_str(), move<Pointer>, make);
  return true;
}
