// A thread that is made, started and joined, pinned to one processor with who makes it.
#pragma once

#include <benchmark/benchmark.h>
#include <sched.h>

#include <string>

/// Keeps the calling thread, and those that it makes, on the processor where it is.
class OneProcessor {
 public:
  OneProcessor() {
    sched_getaffinity(0, sizeof before_, &before_);
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(static_cast<unsigned>(sched_getcpu()), &one);
    sched_setaffinity(0, sizeof one, &one);
  }
  ~OneProcessor() { sched_setaffinity(0, sizeof before_, &before_); }

  OneProcessor(const OneProcessor&) = delete;
  OneProcessor& operator=(const OneProcessor&) = delete;

 private:
  cpu_set_t before_;
};

inline void doNothing() { benchmark::ClobberMemory(); }

/// Times `makeStartAndJoin`, which has a new thread call doNothing().
template <class Operation>
bool timeThread(const std::string& subject, Operation makeStartAndJoin) {
  benchmark::RegisterBenchmark((subject + "/makeStartAndJoin").c_str(),
                               [makeStartAndJoin](benchmark::State& state) {
                                 const OneProcessor pinned;
                                 for (auto _ : state) makeStartAndJoin();
                               })
      ->UseRealTime();
  return true;
}
