// The random times of day that every subject writes.
#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <random>
#include <vector>

inline constexpr std::size_t kTimes = 4096;

/// Milliseconds since midnight.
inline std::vector<int> randomTimes() {
  std::mt19937 generator(20);
  std::uniform_int_distribution<int> milliseconds(0, 86399999);
  std::vector<int> result(kTimes);
  for (int& time : result) time = milliseconds(generator);
  return result;
}

/// Times `write` for one time after the other, each made by `make` beforehand.
template <class Make, class Write>
void writeEach(benchmark::State& state, Make make, Write write) {
  std::vector<decltype(make(0))> times;
  for (const int milliseconds : randomTimes()) times.push_back(make(milliseconds));
  std::size_t next = 0;
  for (auto _ : state) {
    auto text = write(times[next]);
    benchmark::DoNotOptimize(text);
    next = (next + 1) % kTimes;
  }
}
