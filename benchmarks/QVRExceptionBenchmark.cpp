// What a failure costs from its making to its text.
#include "QVRException.h"

#include <benchmark/benchmark.h>

#include "QVREOutOfRange.h"

namespace {

constexpr const wchar16* kFormat = u"Index %1 is outside of %2";

[[gnu::noinline]] void fail(int index, const char* name) {
  QVREOutOfRange error(kFormat, __FILE__, 42);
  error << index << name;
  throw error;
}

QVREOutOfRange outsideError(int index, const char* name) {
  QVREOutOfRange error(kFormat, __FILE__, 42);
  error << index << name;
  return error;
}

// No object of the thrower's needs a destructor while the stack is unwound.
[[gnu::noinline]] void failByFunction(int index, const char* name) {
  throw outsideError(index, name);
}

void timeFailure(benchmark::State& state, void (*failing)(int, const char*)) {
  int index = 0;
  for (auto _ : state) {
    try {
      failing(++index, "the list of surfaces");
    } catch (const QVREOutOfRange& error) {
      benchmark::DoNotOptimize(error.what());
    }
  }
}
BENCHMARK_CAPTURE(timeFailure, local, &fail)->Name("QVRException/buildThrowCatchWhat");
BENCHMARK_CAPTURE(timeFailure, returned, &failByFunction)
    ->Name("QVRException (returned by a function)/buildThrowCatchWhat");

}  // namespace
