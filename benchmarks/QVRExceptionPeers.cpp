// The same failure by the packaged libraries.
#include <Poco/Exception.h>
#include <Poco/Format.h>
#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <boost/exception/diagnostic_information.hpp>
#include <boost/exception/info.hpp>
#include <stdexcept>
#include <string>

namespace {

/// Times `fail`, caught as an Error, and the text that `textOf` gets from it.
template <class Error, class TextOf>
void timeFailure(benchmark::State& state, void (*fail)(int, const char*), TextOf textOf) {
  int index = 0;
  for (auto _ : state) {
    try {
      fail(++index, "the list of surfaces");
    } catch (const Error& error) {
      benchmark::DoNotOptimize(textOf(error));
    }
  }
}

[[gnu::noinline]] void failWithFmt(int index, const char* name) {
  throw std::runtime_error(fmt::format("Index {} is outside of {}", index, name));
}

void runtimeError(benchmark::State& state) {
  timeFailure<std::runtime_error>(state, &failWithFmt, [](const auto& e) { return e.what(); });
}
BENCHMARK(runtimeError)->Name("std::runtime_error (fmt)/buildThrowCatchWhat");

[[gnu::noinline]] void failWithLocal(int index, const char* name) {
  const std::runtime_error error(fmt::format("Index {} is outside of {}", index, name));
  throw error;
}

void runtimeErrorOfLocal(benchmark::State& state) {
  timeFailure<std::runtime_error>(state, &failWithLocal, [](const auto& e) { return e.what(); });
}
BENCHMARK(runtimeErrorOfLocal)->Name("std::runtime_error (fmt, local)/buildThrowCatchWhat");

[[gnu::noinline]] void failWithPoco(int index, const char* name) {
  throw Poco::RangeException(Poco::format("Index %d is outside of %s", index, std::string(name)),
                             42);
}

void poco(benchmark::State& state) {
  timeFailure<Poco::RangeException>(state, &failWithPoco,
                                    [](const auto& e) { return e.displayText(); });
}
BENCHMARK(poco)->Name("Poco/buildThrowCatchWhat");

struct OutsideError : virtual std::exception, virtual boost::exception {};
using IndexInfo = boost::error_info<struct IndexTag, int>;
using NameInfo = boost::error_info<struct NameTag, std::string>;

[[gnu::noinline]] void failWithBoost(int index, const char* name) {
  throw OutsideError() << IndexInfo(index) << NameInfo(name);
}

void boostException(benchmark::State& state) {
  timeFailure<OutsideError>(state, &failWithBoost,
                            [](const auto& e) { return boost::diagnostic_information(e); });
}
BENCHMARK(boostException)->Name("Boost.Exception/buildThrowCatchWhat");

}  // namespace
