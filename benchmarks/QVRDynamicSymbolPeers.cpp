// The packaged libraries beside QVRDynamicSymbol.
#include <Poco/SharedLibrary.h>
#include <benchmark/benchmark.h>

#include <QLibrary>
#include <QString>
#include <boost/dll/shared_library.hpp>
#include <string>

#include "SymbolNames.h"

namespace {

void qtSymbol(benchmark::State& state) {
  QLibrary library(QString::fromUtf8(QVR_SYMBOL_MODULE));
  if (!library.load()) state.SkipWithError("not loaded");
  timeLookUps(state, [&](const std::string& name) {
    benchmark::DoNotOptimize(library.resolve(name.c_str()));
  });
}
BENCHMARK(qtSymbol)->Name("QLibrary/lookUpAgain")->Apply(sweepNames);
BENCHMARK(qtSymbol)->Name("QLibrary/lookUpTogether")->Apply(sweepThreads);

void boostSymbol(benchmark::State& state) {
  const boost::dll::shared_library library(QVR_SYMBOL_MODULE);
  timeLookUps(
      state, [&](const std::string& name) { benchmark::DoNotOptimize(&library.get<int()>(name)); });
}
BENCHMARK(boostSymbol)->Name("Boost.DLL/lookUpAgain")->Apply(sweepNames);
BENCHMARK(boostSymbol)->Name("Boost.DLL/lookUpTogether")->Apply(sweepThreads);

void pocoSymbol(benchmark::State& state) {
  Poco::SharedLibrary library(QVR_SYMBOL_MODULE);
  timeLookUps(state,
              [&](const std::string& name) { benchmark::DoNotOptimize(library.getSymbol(name)); });
}
BENCHMARK(pocoSymbol)->Name("Poco/lookUpAgain")->Apply(sweepNames);
BENCHMARK(pocoSymbol)->Name("Poco/lookUpTogether")->Apply(sweepThreads);

}  // namespace
