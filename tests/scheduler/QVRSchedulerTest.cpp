// What the scheduler explores, what it finds, and that it finds it again.
#include "scheduler/QVRScheduler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>

#include "QVRAssert.h"
#include "QVRSystem/internal/QVRAtomic.h"
#include "QVRSystem/internal/QVRThreadState.h"
#include "QVRSystem/platform/QVRPlatformMutex.h"
#include "scheduler/Sanitizer.h"
#include "support/ScopedEnvironment.h"

namespace {

using namespace qvr::scheduler;
using qvr::internal::Atomic;
using qvr::internal::AtomicWord;
using qvr::internal::waitWhile;
using qvr::internal::wakeOne;
using testing::HasSubstr;

constexpr int kUnbounded = 1000;

const char* const kNames[] = {"A", "B", "C", "D", "E", "F", "G", "H"};

Options exhaustive(int preemptions) {
  Options options;
  options.preemptions = preemptions;
  options.random = 0;
  return options;
}

Options atRandom(std::uint64_t schedules) {
  Options options;
  options.preemptions = -1;
  options.random = schedules;
  return options;
}

Options replaying(const std::string& replay) {
  Options options;
  options.replay = replay;
  return options;
}

/// The letters of the steps, in the order of a schedule.
using Order = std::string;

/// Threads of so many operations each, which tell the order of a schedule.
class Steps {
 public:
  Steps(int threads, int operations) : threads_(threads), operations_(operations) {}

  void operator()(Trial& trial) {
    auto& order = trial.make<Order>();
    auto& word = trial.make<Atomic<int>>(0);
    for (int i = 0; i < threads_; ++i) {
      const char* const name = kNames[i];
      trial.thread(name, [this, &order, &word, name] {
        for (int j = 0; j < operations_; ++j) {
          word.fetch_add(1);
          order += name;
        }
      });
    }
    trial.atEnd([this, &order] { orders.insert(order); });
  }

  std::set<Order> orders;

 private:
  const int threads_;
  const int operations_;
};

// (a + b + ...)! / (a! b! ...) where nothing is bounded; n! without pre-emption;
// for two threads of m operations 2m with one, 2 (1 + (m - 1) + (m - 1)^2) with two.
TEST(QVRSchedulerTest, ExhaustiveExplorationRunsEveryInterleavingOnce) {
  const struct {
    int threads, operations, preemptions;
    std::uint64_t schedules;
  } cases[] = {{1, 5, kUnbounded, 1},
               {2, 1, kUnbounded, 2},
               {2, 2, kUnbounded, 6},
               {2, 5, kUnbounded, 252},
               {3, 1, kUnbounded, 6},
               {3, 2, kUnbounded, 90},
               {4, 2, kUnbounded, 2520},
               {3, 4, 0, 6},
               {5, 3, 0, 120},
               {2, 4, 1, 8},
               {2, 7, 1, 14},
               {2, 4, 2, 26}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.threads << " threads, " << c.operations << " operations, "
                                    << c.preemptions << " pre-emptions");
    Steps steps(c.threads, c.operations);

    const Report report = explore("steps", std::ref(steps), exhaustive(c.preemptions));

    EXPECT_EQ(report.failure, "");
    EXPECT_TRUE(report.complete);
    EXPECT_EQ(report.exhaustive, c.schedules);
    EXPECT_EQ(steps.orders.size(), c.schedules);
    EXPECT_EQ(report.steps, c.schedules * static_cast<unsigned>(c.threads * c.operations));
  }
}

TEST(QVRSchedulerTest, LimitEndsExhaustiveExploration) {
  Steps steps(3, 2);
  Options options = exhaustive(kUnbounded);
  options.exhaustiveLimit = 50;

  const Report report = explore("steps", std::ref(steps), options);

  EXPECT_EQ(report.exhaustive, 50u);
  EXPECT_FALSE(report.complete);
}

TEST(QVRSchedulerTest, RandomExplorationComesToEveryInterleaving) {
  Steps steps(3, 2);

  const Report report = explore("steps", std::ref(steps), atRandom(5000));

  EXPECT_EQ(report.failure, "");
  EXPECT_EQ(report.random, 5000u);
  EXPECT_EQ(steps.orders.size(), 90u);
}

TEST(QVRSchedulerTest, OneSeedIsOneSchedule) {
  Steps steps(4, 3);
  std::set<std::string> traces;
  for (int seed = 1; seed <= 100; ++seed) {
    const std::string replay = "seed=" + std::to_string(seed);

    const std::string trace = explore("steps", std::ref(steps), replaying(replay)).trace;

    EXPECT_EQ(explore("steps", std::ref(steps), replaying(replay)).trace, trace);
    traces.insert(trace);
  }
  EXPECT_GT(traces.size(), 50u);
}

void loseUpdate(Trial& trial) {
  auto& count = trial.make<Atomic<int>>(0);
  trial.label(count, "count");
  for (const char* name : {"left", "right"}) {
    trial.thread(name, [&count] { count.store(count.load() + 1); });
  }
  trial.atEnd([&count] { require(count.load() == 2, "an update is lost"); });
}

TEST(QVRSchedulerTest, LostUpdateTakesOnePreemption) {
  EXPECT_EQ(explore("update", loseUpdate, exhaustive(0)).failure, "");

  const Report report = explore("update", loseUpdate, exhaustive(1));

  EXPECT_EQ(report.failure,
            "update: an update is lost\n"
            "    1  left         load count: 0\n"
            "    2  right        load count: 0\n"
            "    3  right        store count: 0 -> 1\n"
            "    4  left         store count: 1\n"
            "Again: QVR_REPLAY='update preemptions=1 choices=1:1'\n");
}

TEST(QVRSchedulerTest, ChoicesRepeatAFailure) {
  const Report found = explore("update", loseUpdate, exhaustive(2));

  const Report again = explore("update", loseUpdate, replaying(found.replay));

  EXPECT_EQ(again.failure, found.failure);
  EXPECT_EQ(again.schedules(), 1u);
}

TEST(QVRSchedulerTest, SeedRepeatsAFailure) {
  const Report found = explore("update", loseUpdate, atRandom(1000));
  ASSERT_THAT(found.failure, HasSubstr("an update is lost"));

  const Report again = explore("update", loseUpdate, replaying(found.replay));

  EXPECT_EQ(again.failure, found.failure);
  EXPECT_EQ(again.schedules(), 1u);
}

TEST(QVRSchedulerTest, EnvironmentRepeatsAFailureOfTheScenarioThatItNames) {
  const ScopedEnvironment replay("QVR_REPLAY", "update preemptions=1 choices=1:1");

  const Report named = explore("update", loseUpdate, exhaustive(0));
  const Report other = explore("updates", loseUpdate, exhaustive(0));

  EXPECT_THAT(named.failure, HasSubstr("an update is lost"));
  EXPECT_EQ(other.failure, "");
  EXPECT_EQ(other.exhaustive, 2u);
}

TEST(QVRSchedulerTest, ReplayOfAPassingScheduleTellsItsSteps) {
  const Report report = explore("update", loseUpdate, replaying("preemptions=0 choices="));

  EXPECT_EQ(report.failure, "");
  EXPECT_THAT(report.trace, HasSubstr("right        store count: 1 -> 2\n"));
}

TEST(QVRSchedulerTest, UnreadableReplayIsRefused) {
  for (const char* replay : {"seeds=1", "seed=x", "preemptions=1", "preemptions=1 choices=1",
                             "preemptions=1 choices=1:x", "preemptions=1 choices=1:1;2:1"}) {
    EXPECT_THROW(explore("update", loseUpdate, replaying(replay)), std::invalid_argument) << replay;
  }
}

TEST(QVRSchedulerTest, WakeUpBeforeTheWaitIsLost) {
  const Report report = explore(
      "wake-up",
      [](Trial& trial) {
        auto& word = trial.make<std::uint32_t>();
        auto& ready = trial.make<Atomic<bool>>(false);
        trial.label(word, "word");
        trial.thread("waiter", [&] {
          if (!ready.load()) waitWhile(word, 0);
        });
        trial.thread("waker", [&] {
          ready.store(true);
          wakeOne(&word);
        });
      },
      exhaustive(1));

  EXPECT_THAT(report.failure, HasSubstr("wake-up: nobody can run: waiter sleeps on word\n"));
}

TEST(QVRSchedulerTest, WaitSleepsOnlyWhileItsWordHoldsWhatIsExpected) {
  const Report report = explore(
      "wait",
      [](Trial& trial) {
        auto& word = trial.make<std::uint32_t>();
        trial.thread("waiter", [&] {
          while (AtomicWord(word).load() == 0) waitWhile(word, 0);
        });
        trial.thread("waker", [&] {
          AtomicWord(word).store(1);
          wakeOne(&word);
        });
      },
      exhaustive(kUnbounded));

  EXPECT_EQ(report.failure, "");
  EXPECT_TRUE(report.complete);
}

// Two sleep before the third comes, and either may be woken first.
TEST(QVRSchedulerTest, AnySleeperMayBeTheOneThatIsWoken) {
  std::set<Order> orders;
  const Report report = explore(
      "wake",
      [&orders](Trial& trial) {
        auto& word = trial.make<std::uint32_t>();
        auto& order = trial.make<Order>();
        for (const char* name : {"A", "B"}) {
          trial.thread(name, [&word, &order, name] {
            waitWhile(word, 0);
            order += name;
          });
        }
        trial.idleThread("waker", [&word, &order] {
          wakeOne(&word);
          order += '1';
          wakeOne(&word);
        });
        trial.atEnd([&orders, &order] { orders.insert(order); });
      },
      exhaustive(0));

  EXPECT_EQ(report.failure, "");
  EXPECT_EQ(orders, (std::set<Order>{"1AB", "1BA"}));
}

TEST(QVRSchedulerTest, IdleThreadRunsWhenTheOthersSleepOrHaveEnded) {
  const Report report = explore(
      "idle",
      [](Trial& trial) {
        auto& word = trial.make<std::uint32_t>();
        auto& ended = trial.make<Atomic<int>>(0);
        trial.idleThread("idle", [&] {
          require(ended.load() == 1, "it ran too early");
          wakeOne(&word);
          require(ended.load() == 2, "it went on while another could run");
        });
        trial.thread("sleeper", [&] {
          waitWhile(word, 0);
          ended.fetch_add(1);
        });
        trial.thread("worker", [&] { ended.fetch_add(1); });
      },
      exhaustive(kUnbounded));

  EXPECT_EQ(report.failure, "");
}

TEST(QVRSchedulerTest, SpinningThatYieldsEnds) {
  const Report report = explore(
      "spin",
      [](Trial& trial) {
        auto& flag = trial.make<Atomic<bool>>(false);
        for (const char* name : {"A", "B"}) {
          trial.thread(name, [&flag] {
            while (!flag.load()) qvr::internal::yield();
          });
        }
        trial.thread("setter", [&flag] { flag.store(true); });
      },
      exhaustive(3));

  EXPECT_EQ(report.failure, "");
  EXPECT_TRUE(report.complete);
}

TEST(QVRSchedulerTest, SpinningThatLetsNobodyRunPassesTheStepLimit) {
  Options options = exhaustive(0);
  options.stepLimit = 100;

  const Report report = explore(
      "spin",
      [](Trial& trial) {
        auto& flag = trial.make<Atomic<bool>>(false);
        trial.thread("spinner", [&flag] {
          while (!flag.load()) continue;
        });
        trial.thread("setter", [&flag] { flag.store(true); });
      },
      options);

  EXPECT_THAT(report.failure, HasSubstr("spin: step limit passed\n"));
  EXPECT_EQ(report.steps, 100u);
}

TEST(QVRSchedulerTest, NoiseEndsWaitsAndFailsWeakExchanges) {
  const auto wait = [](Trial& trial) {
    auto& word = trial.make<std::uint32_t>();
    trial.thread("waiter", [&] {
      waitWhile(word, 0);
      require(AtomicWord(word).load() != 0, "nobody woke it");
    });
    trial.idleThread("waker", [&] {
      AtomicWord(word).store(1);
      wakeOne(&word);
    });
  };
  const auto exchange = [](Trial& trial) {
    auto& word = trial.make<Atomic<int>>(0);
    trial.thread("A", [&] {
      int expected = 0;
      require(word.compare_exchange_weak(expected, 1), "it failed");
    });
  };
  Options quiet = atRandom(1000);
  quiet.noise = false;

  EXPECT_EQ(explore("wait", wait, quiet).failure, "");
  EXPECT_THAT(explore("wait", wait, atRandom(1000)).failure, HasSubstr("nobody woke it"));
  EXPECT_EQ(explore("exchange", exchange, quiet).failure, "");
  EXPECT_THAT(explore("exchange", exchange, atRandom(1000)).failure, HasSubstr("it failed"));
}

TEST(QVRSchedulerTest, InvariantIsLookedAtAfterEveryStep) {
  const Report report = explore(
      "invariant",
      [](Trial& trial) {
        auto& value = trial.make<Atomic<int>>(0);
        trial.invariant("at most 1", [&value] { return value.load() <= 1; });
        trial.thread("A", [&value] {
          value.store(1);
          value.store(2);
          value.store(0);
        });
      },
      exhaustive(0));

  EXPECT_THAT(report.failure, HasSubstr("invariant: at most 1\n"));
  EXPECT_EQ(report.steps, 2u);
}

TEST(QVRSchedulerTest, RegionFailsWhereMoreAreInsideThanMayBe) {
  const auto enter = [](int limit) {
    return explore(
               "region",
               [limit](Trial& trial) {
                 auto& region = trial.make<Region>(limit);
                 for (int i = 0; i < 3; ++i) trial.thread(kNames[i], [&] { region.pass(); });
               },
               exhaustive(2))
        .failure;
  };

  EXPECT_THAT(enter(1), HasSubstr("too many threads inside"));
  EXPECT_THAT(enter(2), HasSubstr("too many threads inside"));
  EXPECT_EQ(enter(3), "");
}

/// What fails where a thread does `body`.
std::string failureOf(std::function<void()> body) {
  return explore(
             "thread", [&body](Trial& trial) { trial.thread("A", body); }, exhaustive(0))
      .failure;
}

TEST(QVRSchedulerTest, WhatGoesWrongInAThreadFails) {
  EXPECT_THAT(failureOf([] { throw std::runtime_error("thrown"); }),
              HasSubstr("thread: an exception left A: thrown\n"));
  EXPECT_THAT(failureOf([] { throw 1; }), HasSubstr("an exception left A: no std::exception"));
  EXPECT_THAT(failureOf([] { QVRReportAssert("Assertion", "a != b", "source", 12); }),
              HasSubstr("thread: assertion: Assertion: a != b, source(12)\n"));
  EXPECT_THAT(failureOf([] { require(false, "not so"); }), HasSubstr("thread: not so\n"));
  EXPECT_THAT(failureOf([] { ++qvr::scheduler::shortSections(); }),
              HasSubstr("thread: a thread ended inside a short section\n"));
}

// AddressSanitizer keeps crashes to itself.
#ifndef QVR_SCHEDULER_UNDER_ASAN
TEST(QVRSchedulerTest, CrashOfAThreadFails) {
  EXPECT_THAT(failureOf([] { std::raise(SIGSEGV); }),
              HasSubstr("thread: crashed: Segmentation fault\n"));
  EXPECT_THAT(failureOf([]() noexcept { std::abort(); }), HasSubstr("thread: crashed: Aborted\n"));
  EXPECT_EQ(failureOf([] {}), "");
}
#endif

TEST(QVRSchedulerTest, WhatGoesWrongOutsideThreadsFails) {
  const auto failure = [](std::function<void(Trial&)> scenario) {
    return explore("scenario", scenario, exhaustive(0)).failure;
  };

  EXPECT_THAT(failure([](Trial&) { require(false, "not so"); }), HasSubstr("scenario: not so\n"));
  EXPECT_THAT(failure([](Trial& trial) {
                trial.atEnd([] { QVRReportAssert("Assertion", "text", "source", 1); });
              }),
              HasSubstr("scenario: assertion: Assertion: text"));
  EXPECT_THAT(
      failure([](Trial& trial) { qvr::platform::createMutex(trial.make<qvr::PlatformMutex>()); }),
      HasSubstr("scenario: mutexes of the platform were not closed"));
}

TEST(QVRSchedulerTest, ScenarioMayExpectAssertions) {
  int reported = 0;
  const Report report = explore(
      "assertion",
      [&reported](Trial& trial) {
        trial.onAssertion([&reported](const Assertion& assertion) {
          ++reported;
          require(assertion.line == 7, "another line");
        });
        trial.thread("A", [] { QVRReportAssert("Assertion", "text", "source", 7); });
      },
      exhaustive(0));

  EXPECT_EQ(report.failure, "");
  EXPECT_EQ(reported, 1);
}

TEST(QVRSchedulerTest, EachScheduleHasItsOwnObjects) {
  struct Counted {
    explicit Counted(int& living) : living_(living) { ++living_; }
    ~Counted() { --living_; }
    int& living_;
  };
  int living = 0;
  const Report report = explore(
      "objects",
      [&living](Trial& trial) {
        trial.make<Counted>(living);
        require(living == 1, "another schedule's object lives");
        for (int i = 0; i < 3; ++i) trial.thread(kNames[i], [] { step(); });
      },
      exhaustive(kUnbounded));

  EXPECT_EQ(report.failure, "");
  EXPECT_EQ(report.exhaustive, 90u);
  EXPECT_EQ(living, 0);
}

// The C++ run-time keeps the exceptions under way on a stack per thread.
TEST(QVRSchedulerTest, ThreadsHaveTheirOwnExceptions) {
  const Report report = explore(
      "exceptions",
      [](Trial& trial) {
        for (const char* name : {"A", "B", "C"}) {
          trial.thread(name, [name] {
            try {
              try {
                throw std::string(name);
              } catch (...) {
                step();
                throw;
              }
            } catch (const std::string& caught) {
              step();
              require(caught == name, "another thread's exception");
            }
            require(std::uncaught_exceptions() == 0, "an exception is left");
          });
        }
      },
      exhaustive(kUnbounded));

  EXPECT_EQ(report.failure, "");
  EXPECT_EQ(report.exhaustive, 1680u);
}

TEST(QVRSchedulerTest, ThreadsAreNumberedAsTheyWereAdded) {
  const Report report = explore(
      "numbers",
      [](Trial& trial) {
        auto& serials = trial.make<std::set<std::uint64_t>>();
        for (std::uint32_t i = 1; i <= 8; ++i) {
          trial.thread(kNames[i - 1], [i, &serials] {
            require(qvr::internal::currentThreadId() == i, "another number");
            serials.insert(qvr::internal::currentThreadSerial());
          });
        }
        trial.atEnd([&serials] { require(serials.size() == 8, "a serial number twice"); });
      },
      exhaustive(0));

  EXPECT_EQ(report.failure, "");
  EXPECT_EQ(report.exhaustive, 40320u);
}

TEST(QVRSchedulerTest, TooManyThreadsAreRefused) {
  const auto addNine = [](Trial& trial) {
    for (int i = 0; i < 9; ++i) trial.thread("A", [] {});
  };

  EXPECT_THROW(explore("threads", addNine), std::length_error);
  EXPECT_EQ(explore("update", loseUpdate, exhaustive(0)).failure, "");
}

TEST(QVRSchedulerTest, GateKeepsThreadsUntilItOpens) {
  const auto failure = [](bool opens) {
    return explore(
               "gate",
               [opens](Trial& trial) {
                 auto& gate = trial.make<Gate>();
                 trial.label(gate, "gate");
                 for (const char* name : {"A", "B"}) {
                   trial.thread(name, [&gate] {
                     gate.pass();
                     require(gate.isOpen(), "past a closed gate");
                   });
                 }
                 trial.thread("opener", [&gate, opens] {
                   if (opens) gate.open();
                 });
               },
               exhaustive(kUnbounded))
        .failure;
  };

  EXPECT_EQ(failure(true), "");
  EXPECT_THAT(failure(false), HasSubstr("nobody can run: A sleeps on gate; B sleeps on gate\n"));
}

TEST(QVRSchedulerTest, MutexOfAThreadThatEndedTellsTheNextToGetIt) {
  struct Mutex : qvr::PlatformMutex {
    Mutex() { qvr::platform::createMutex(*this); }
    ~Mutex() { qvr::platform::closeMutex(*this); }
  };
  const Report report = explore(
      "mutex",
      [](Trial& trial) {
        auto& mutex = trial.make<Mutex>();
        auto& told = trial.make<int>(0);
        trial.thread("ends", [&] { told += qvr::platform::waitMutex(mutex) == EOWNERDEAD; });
        for (const char* name : {"A", "B"}) {
          trial.thread(name, [&] {
            told += qvr::platform::waitMutex(mutex) == EOWNERDEAD;
            qvr::platform::releaseMutex(mutex);
          });
        }
        trial.atEnd([&] {
          told += qvr::platform::waitMutex(mutex) == EOWNERDEAD;
          qvr::platform::releaseMutex(mutex);
          require(told == 1, "not told once");
        });
      },
      exhaustive(kUnbounded));

  EXPECT_EQ(report.failure, "");
}

TEST(QVRSchedulerDeathTest, CheckThatWaitsForALockEndsTheProcess) {
  const auto waitAtEnd = [](Trial& trial) {
    auto& word = trial.make<std::uint32_t>();
    trial.atEnd([&word] { waitWhile(word, 0); });
  };

  EXPECT_DEATH(explore("check", waitAtEnd, exhaustive(0)), "waits for a lock that is held");
}

}  // namespace
