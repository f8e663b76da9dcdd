// What making, reading, writing and comparing identifiers costs.
#include "QVRUUID.h"

#include <benchmark/benchmark.h>
#include <sys/random.h>

#include "QVRUUIDText.h"

namespace {

void ownGenerate(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(QVRUUID());
}
BENCHMARK(ownGenerate)->Name("QVRUUID/generate");
BENCHMARK(ownGenerate)->Name("QVRUUID/generateTogether")->ThreadRange(2, 8)->UseRealTime();

void ownParse(benchmark::State& state) {
  const char* text = kUuidText;
  for (auto _ : state) {
    benchmark::DoNotOptimize(text);
    benchmark::DoNotOptimize(QVRUUID(text));
  }
}
BENCHMARK(ownParse)->Name("QVRUUID/parse");

void ownWrite(benchmark::State& state) {
  QVRUUID uuid = kUuidText;
  for (auto _ : state) {
    benchmark::DoNotOptimize(uuid);
    benchmark::DoNotOptimize(uuid.toString());
  }
}
BENCHMARK(ownWrite)->Name("QVRUUID/write");

template <class Compare>
void ownCompare(benchmark::State& state, Compare compare) {
  QVRUUID a = kUuidText;
  QVRUUID b = kOtherUuidText;
  for (auto _ : state) {
    benchmark::DoNotOptimize(a);
    benchmark::DoNotOptimize(b);
    benchmark::DoNotOptimize(compare(a, b));
  }
}
BENCHMARK_CAPTURE(ownCompare, equal, [](const QVRUUID& a, const QVRUUID& b) {
  return a == b;
})->Name("QVRUUID/equal");
BENCHMARK_CAPTURE(ownCompare, less, [](const QVRUUID& a, const QVRUUID& b) {
  return a < b;
})->Name("QVRUUID/less");

void kernelGenerate(benchmark::State& state) {
  char bytes[16];
  for (auto _ : state) {
    if (getrandom(bytes, sizeof bytes, 0) != sizeof bytes) state.SkipWithError("no random bytes");
    benchmark::DoNotOptimize(bytes);
  }
}
BENCHMARK(kernelGenerate)->Name("getrandom (limit)/generate");
BENCHMARK(kernelGenerate)
    ->Name("getrandom (limit)/generateTogether")
    ->ThreadRange(2, 8)
    ->UseRealTime();

}  // namespace
