// What any lock owes to threads that meet at it.
#pragma once

#include <gtest/gtest.h>

#include <latch>
#include <thread>
#include <vector>

#include "support/CommandedThread.h"

/// Runs `action(number)` on so many threads, which begin together, and waits for
/// them.
template <class Action>
void runTogether(int threads, Action action) {
  std::latch start(threads);
  std::vector<std::thread> workers;
  for (int i = 0; i < threads; ++i) {
    workers.emplace_back([&, i] {
      start.arrive_and_wait();
      action(i);
    });
  }
  for (std::thread& worker : workers) worker.join();
}

/// Has the caller hold the lock three times and another thread ask for it, which
/// is to sleep until every hold is given back. Leaves the lock free.
template <class Lock>
void expectHeldUntilEveryHoldIsGivenBack(Lock& lock) {
  constexpr int kHolds = 3;
  CommandedThread other;
  for (int i = 0; i < kHolds; ++i) lock.acquire();
  other.start([&] { lock.acquire(); });

  for (int i = 0; i < kHolds; ++i) {
    EXPECT_TRUE(other.sleeps()) << i;
    lock.release();
  }

  other.finish();
  other.run([&] { lock.release(); });
}

struct ExclusionPlan {
  std::vector<int> threads = {2, 3, 8, 64};  // one number after the other
  int rounds = 32'000;                       // of all threads together
  int depth = 1;                             // holds of each round
};

/// Has several threads add to one plain counter under the lock. Now and then a
/// holder lets others run, so that they find the lock taken and sleep; one that
/// were not woken would never end.
template <class Lock>
void expectMutualExclusion(Lock& lock, const ExclusionPlan& plan = {}) {
  constexpr int kRoundsBetweenYields = 16;
  for (const int threads : plan.threads) {
    const int rounds = plan.rounds / threads;
    long counter = 0;
    runTogether(threads, [&](int) {
      for (int round = 0; round < rounds; ++round) {
        for (int i = 0; i < plan.depth; ++i) lock.acquire();
        const long seen = counter;
        if (round % kRoundsBetweenYields == 0) std::this_thread::yield();
        counter = seen + 1;
        for (int i = 0; i < plan.depth; ++i) lock.release();
      }
    });

    EXPECT_EQ(counter, static_cast<long>(threads) * rounds) << threads << " threads";
  }
}
