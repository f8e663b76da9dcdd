// What a failure costs from its making to its text.
#include "QVRException.h"

#include <benchmark/benchmark.h>

#include "QVREOutOfRange.h"

namespace {

[[gnu::noinline]] void fail(int index, const char* name) {
  QVREOutOfRange error(u"Index %1 is outside of %2", __FILE__, 42);
  error << index << name;
  throw error;
}

void buildThrowCatchWhat(benchmark::State& state) {
  int index = 0;
  for (auto _ : state) {
    try {
      fail(++index, "the list of surfaces");
    } catch (const QVREOutOfRange& error) {
      benchmark::DoNotOptimize(error.what());
    }
  }
}
BENCHMARK(buildThrowCatchWhat)->Name("QVRException/buildThrowCatchWhat");

}  // namespace
