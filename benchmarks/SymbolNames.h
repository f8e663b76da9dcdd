// What the benchmarks of symbols look up.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <random>
#include <string>
#include <vector>

/// The names of some functions of the library, the same ones in the same random order in
/// every run.
inline std::vector<std::string> symbolNames(std::size_t count) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::vector<std::string> names;
  for (std::size_t i = 0; i < 256; ++i) {
    names.push_back(std::string("qvrPlugInFunction") + kDigits[i / 16] + kDigits[i % 16]);
  }
  std::shuffle(names.begin(), names.end(), std::mt19937_64(20020610));
  names.resize(count);
  return names;
}

/// Times `lookUp` of one name after the other, all of which were looked up before.
template <class LookUp>
void timeLookUps(benchmark::State& state, LookUp lookUp) {
  const std::vector<std::string> names = symbolNames(static_cast<std::size_t>(state.range(0)));
  std::size_t next = 0;
  for (auto _ : state) {
    lookUp(names[next]);
    next = next + 1 < names.size() ? next + 1 : 0;
  }
}

inline void sweepNames(benchmark::internal::Benchmark* benchmark) {
  benchmark->Arg(1)->Arg(16)->Arg(256);
}

inline void sweepThreads(benchmark::internal::Benchmark* benchmark) {
  benchmark->Arg(16)->ThreadRange(2, 4)->UseRealTime();
}
