// What splitting and joining a path of 60 characters costs.
//
// Each round gives the path its text, as a loop over many paths does, and then
// splits it: a library that splits when it gets the text is timed with it too.
// The path keeps its storage, so that joining is not hidden by an allocation.
#include "QVROSPath.h"

#include <benchmark/benchmark.h>

#include <filesystem>

#include "QVROSPathText.h"

namespace {

void ownBasename(benchmark::State& state) {
  QVROSPath path;
  for (auto _ : state) {
    path = kPathText;
    benchmark::DoNotOptimize(path.basename());
  }
}
BENCHMARK(ownBasename)->Name("QVROSPath/basename/60");

void ownDirname(benchmark::State& state) {
  QVROSPath path;
  for (auto _ : state) {
    path = kPathText;
    benchmark::DoNotOptimize(path.dirname());
  }
}
BENCHMARK(ownDirname)->Name("QVROSPath/dirname/60");

void ownAppendPath(benchmark::State& state) {
  QVROSPath path;
  for (auto _ : state) {
    path = kPathText;
    path.appendPath(kPartText);
    benchmark::DoNotOptimize(path);
  }
}
BENCHMARK(ownAppendPath)->Name("QVROSPath/appendPath/60");

void stdBasename(benchmark::State& state) {
  std::filesystem::path path;
  for (auto _ : state) {
    path = kPathText;
    benchmark::DoNotOptimize(path.filename());
  }
}
BENCHMARK(stdBasename)->Name("std::filesystem/basename/60");

void stdDirname(benchmark::State& state) {
  std::filesystem::path path;
  for (auto _ : state) {
    path = kPathText;
    benchmark::DoNotOptimize(path.parent_path());
  }
}
BENCHMARK(stdDirname)->Name("std::filesystem/dirname/60");

void stdAppendPath(benchmark::State& state) {
  std::filesystem::path path;
  for (auto _ : state) {
    path = kPathText;
    path /= kPartText;
    benchmark::DoNotOptimize(path);
  }
}
BENCHMARK(stdAppendPath)->Name("std::filesystem/appendPath/60");

}  // namespace
