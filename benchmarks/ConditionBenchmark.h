// The operations that conditions are timed by.
#pragma once

#include <benchmark/benchmark.h>
#include <sched.h>

#include <string>

/// Keeps the calling thread on the first of its processors for a scope.
class PinnedToOneProcessor {
 public:
  PinnedToOneProcessor() {
    sched_getaffinity(0, sizeof before_, &before_);
    int first = 0;
    while (!CPU_ISSET(first, &before_)) ++first;
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(first, &one);
    sched_setaffinity(0, sizeof one, &one);
  }
  ~PinnedToOneProcessor() { sched_setaffinity(0, sizeof before_, &before_); }

  PinnedToOneProcessor(const PinnedToOneProcessor&) = delete;
  PinnedToOneProcessor& operator=(const PinnedToOneProcessor&) = delete;

 private:
  cpu_set_t before_;
};

/// Two threads that pass a turn to and fro. Turns says how: await(thread) returns
/// with the turn of that thread, pass(thread) gives it to that thread.
template <class Turns>
void pingPong(benchmark::State& state) {
  static Turns turns;
  const PinnedToOneProcessor pinned;
  const int own = state.thread_index();
  for (auto _ : state) {
    turns.await(own);
    turns.pass(1 - own);
  }
}

/// Turns by a mutex and a condition.
template <class Mutex, class Condition>
class ConditionTurns {
 public:
  void await(int thread) {
    mutex_.lock();
    while (turn_ != thread) condition_.wait(mutex_);
  }
  void pass(int thread) {
    turn_ = thread;
    condition_.signal();
    mutex_.unlock();
  }

 private:
  Mutex mutex_;
  Condition condition_{mutex_};
  int turn_ = 0;
};

/// A signal that nobody waits for.
template <class Mutex, class Condition>
void signalNobody(benchmark::State& state) {
  static Mutex mutex;
  static Condition condition{mutex};
  for (auto _ : state) {
    condition.signal();
    benchmark::ClobberMemory();
  }
}

/// The time of a ping-pong is that of one turn, on the clock.
template <class Turns>
bool timePingPong(const std::string& subject) {
  benchmark::RegisterBenchmark((subject + "/ping-pong").c_str(), pingPong<Turns>)
      ->Threads(2)
      ->UseRealTime();
  return true;
}

template <class Mutex, class Condition>
bool timeCondition(const std::string& subject) {
  benchmark::RegisterBenchmark((subject + "/signal").c_str(), signalNobody<Mutex, Condition>);
  return timePingPong<ConditionTurns<Mutex, Condition>>(subject);
}
