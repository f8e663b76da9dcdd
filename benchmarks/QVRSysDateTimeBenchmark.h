// The zones in which every subject tells the present.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

/// TZ while one benchmark runs: set to `zone`, or unset where that is null.
class BenchmarkZone {
 public:
  explicit BenchmarkZone(const char* zone) {
    if (const char* const before = std::getenv("TZ")) before_ = before;
    change(zone);
  }
  ~BenchmarkZone() { change(before_ ? before_->c_str() : nullptr); }

  BenchmarkZone(const BenchmarkZone&) = delete;
  BenchmarkZone& operator=(const BenchmarkZone&) = delete;

 private:
  static void change(const char* zone) {
    if (zone != nullptr) {
      setenv("TZ", zone, 1);
    } else {
      unsetenv("TZ");
    }
    tzset();
  }

  std::optional<std::string> before_;
};

/// Times `now` in one zone.
template <class Now>
void tellNow(benchmark::State& state, const char* zone, Now now) {
  const BenchmarkZone environment(zone);
  for (auto _ : state) {
    auto result = now();
    benchmark::DoNotOptimize(result);
  }
}

/// Registers `SUBJECT/now/<zone>` with TZ set and unset.
#define QVR_BENCHMARK_NOW(function, subject)                                                  \
  BENCHMARK_CAPTURE(function, withTz, "CET-1CEST,M3.5.0,M10.5.0/3")->Name(subject "/now/TZ"); \
  BENCHMARK_CAPTURE(function, named, ":America/New_York")->Name(subject "/now/named");        \
  BENCHMARK_CAPTURE(function, withoutTz, nullptr)->Name(subject "/now/noTZ")
