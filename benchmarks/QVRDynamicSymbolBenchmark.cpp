// What it costs to ask for a symbol or a library once more.
#include "QVRDynamicSymbol.h"

#include <benchmark/benchmark.h>
#include <dlfcn.h>

#include <string>
#include <vector>

#include "QVRDynamicLibrary.h"
#include "SymbolNames.h"

namespace {

const std::string kModule = QVR_SYMBOL_MODULE;

void ownSymbol(benchmark::State& state) {
  const QVRDynamicLibrary library = QVRDynamicLibrary::getLibrary(kModule);
  std::vector<QVRDynamicSymbol> held;
  for (const std::string& name : symbolNames(256)) held.push_back(library.getSymbol(name));
  held.resize(static_cast<std::size_t>(state.range(0)));
  timeLookUps(state, [&](const std::string& name) {
    const QVRDynamicSymbol symbol = library.getSymbol(name);
    benchmark::DoNotOptimize(&symbol);
  });
}
BENCHMARK(ownSymbol)->Name("QVRDynamicSymbol/lookUpAgain")->Apply(sweepNames);
BENCHMARK(ownSymbol)->Name("QVRDynamicSymbol/lookUpTogether")->Apply(sweepThreads);

void systemSymbol(benchmark::State& state) {
  void* const library = dlopen(kModule.c_str(), RTLD_NOW);
  timeLookUps(state, [&](const std::string& name) {
    benchmark::DoNotOptimize(dlsym(library, name.c_str()));
  });
}
BENCHMARK(systemSymbol)->Name("dlsym/lookUpAgain")->Apply(sweepNames);
BENCHMARK(systemSymbol)->Name("dlsym/lookUpTogether")->Apply(sweepThreads);

// Ours is let go again each time; the system's is not, which would cost it more.
void ownLibrary(benchmark::State& state) {
  const QVRDynamicLibrary held = QVRDynamicLibrary::getLibrary(kModule);
  for (auto _ : state) {
    const QVRDynamicLibrary library = QVRDynamicLibrary::getLibrary(kModule);
    benchmark::DoNotOptimize(&library);
  }
}
BENCHMARK(ownLibrary)->Name("QVRDynamicLibrary/openAgain");
BENCHMARK(ownLibrary)->Name("QVRDynamicLibrary/openTogether")->ThreadRange(2, 4)->UseRealTime();

void systemLibrary(benchmark::State& state) {
  dlopen(kModule.c_str(), RTLD_NOW);
  for (auto _ : state) benchmark::DoNotOptimize(dlopen(kModule.c_str(), RTLD_NOW));
}
BENCHMARK(systemLibrary)->Name("dlopen/openAgain");
BENCHMARK(systemLibrary)->Name("dlopen/openTogether")->ThreadRange(2, 4)->UseRealTime();

}  // namespace
