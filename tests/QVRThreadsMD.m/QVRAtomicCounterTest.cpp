// The counter that threads share: its steps, its limits, its conversions.
#include "QVRAtomicCounter.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <set>
#include <vector>

#include "support/MutualExclusion.h"
#include "support/TestSeed.h"

namespace {

constexpr long kLargest = 2147483647;
constexpr long kSmallest = -2147483648;

TEST(QVRAtomicCounterTest, BeginsWithZeroUnlessToldOtherwise) {
  const QVRAtomicCounter none;
  const QVRAtomicCounter seven = 7L;

  EXPECT_EQ(none.get(), 0);
  EXPECT_EQ(seven.get(), 7);
}

TEST(QVRAtomicCounterTest, StepsAnswerTheValueAfterThem) {
  QVRAtomicCounter counter;

  EXPECT_EQ(counter.increment(), 1);
  EXPECT_EQ(++counter, 2);
  EXPECT_EQ(counter.decrement(), 1);
  EXPECT_EQ(--counter, 0);
  EXPECT_EQ(counter.decrement(), -1) << "there is no floor";
  EXPECT_EQ(counter.get(), -1);
}

TEST(QVRAtomicCounterTest, WrapsAtItsLimits) {
  QVRAtomicCounter counter(kLargest);

  EXPECT_EQ(counter.increment(), kSmallest);
  EXPECT_EQ(counter.get(), kSmallest);
  EXPECT_EQ(counter.decrement(), kLargest);
  EXPECT_EQ(counter.get(), kLargest);
}

TEST(QVRAtomicCounterTest, KeepsTheLow32BitsOfWhatItIsGiven) {
  const struct {
    long given;
    long kept;
  } cases[] = {{kLargest, kLargest},      {kLargest + 1, kSmallest}, {kSmallest, kSmallest},
               {kSmallest - 1, kLargest}, {0x1'0000'0000, 0},        {0x1'0000'0005, 5},
               {-0x1'0000'0001, -1},      {INT64_MAX, -1},           {INT64_MIN, 0}};
  for (const auto& c : cases) {
    const QVRAtomicCounter made(c.given);
    QVRAtomicCounter set;
    set.set(c.given);
    QVRAtomicCounter assigned;
    assigned = c.given;

    EXPECT_EQ(made.get(), c.kept) << c.given;
    EXPECT_EQ(set.get(), c.kept) << c.given;
    EXPECT_EQ(assigned.get(), c.kept) << c.given;
  }
}

TEST(QVRAtomicCounterTest, ConvertsToItsValue) {
  const QVRAtomicCounter counter(kSmallest);

  const long value = counter;

  EXPECT_EQ(value, kSmallest);
}

TEST(QVRAtomicCounterTest, CopiesCountForThemselves) {
  QVRAtomicCounter original(5);
  QVRAtomicCounter copy = original;
  QVRAtomicCounter assigned(9);
  assigned = original;

  original.increment();

  EXPECT_EQ(original.get(), 6);
  EXPECT_EQ(copy.get(), 5);
  EXPECT_EQ(assigned.get(), 5);
}

TEST(QVRAtomicCounterTest, AssigningACounterToItselfKeepsItsValue) {
  QVRAtomicCounter counter(5);
  const QVRAtomicCounter& same = counter;

  counter = same;

  EXPECT_EQ(counter.get(), 5);
}

TEST(QVRAtomicCounterTest, FollowsItsModel) {
  std::mt19937 random(testSeed());
  QVRAtomicCounter counter;
  std::int64_t model = 0;  // reduced to 32 bits when it is compared
  for (int step = 0; step < 400'000 && !testing::Test::HasFailure(); ++step) {
    switch (random() % 6) {
      case 0:
        counter.set(model = static_cast<std::int32_t>(random()));
        break;
      case 1:  // near a limit, where a step is likely to wrap
        counter = model = kLargest - static_cast<long>(random() % 3);
        break;
      case 2:
        EXPECT_EQ(counter.increment(), static_cast<std::int32_t>(++model));
        break;
      case 3:
        EXPECT_EQ(counter.decrement(), static_cast<std::int32_t>(--model));
        break;
      case 4:
        counter = QVRAtomicCounter(counter);
        break;
      default:
        EXPECT_EQ(counter.get(), static_cast<std::int32_t>(model));
    }
  }
}

TEST(QVRAtomicCounterTest, NoStepOfSeveralThreadsIsLost) {
  for (const int threads : {2, 8, 64}) {
    const int rounds = 64'000 / threads;
    QVRAtomicCounter counter(kLargest);  // on its way across the limit

    runTogether(threads, [&](int number) {
      for (int i = 0; i < rounds; ++i) number % 2 == 0 ? ++counter : --counter;
      for (int i = 0; i < rounds; ++i) counter.increment();
    });

    const std::int64_t sum = kLargest + static_cast<std::int64_t>(threads) * rounds;
    EXPECT_EQ(counter.get(), static_cast<std::int32_t>(sum)) << threads;
  }
}

TEST(QVRAtomicCounterTest, EveryStepOfSeveralThreadsAnswersAnotherValue) {
  constexpr int kThreads = 8;
  constexpr int kRounds = 1000;
  QVRAtomicCounter counter;
  std::vector<std::vector<long>> answers(kThreads);

  runTogether(kThreads, [&](int number) {
    for (int i = 0; i < kRounds; ++i) {
      answers[static_cast<std::size_t>(number)].push_back(counter.increment());
    }
  });

  std::set<long> all;
  for (const auto& ofOne : answers) all.insert(ofOne.begin(), ofOne.end());
  EXPECT_EQ(all.size(), std::size_t{kThreads} * kRounds);
  EXPECT_EQ(*all.begin(), 1);
  EXPECT_EQ(*all.rbegin(), kThreads * kRounds);
}

// As a reference count is: whoever takes the last one sees what the others wrote.
TEST(QVRAtomicCounterTest, TheThreadOfTheLastStepSeesWhatTheOthersWrote) {
  constexpr int kThreads = 8;
  for (int round = 0; round < 50; ++round) {
    QVRAtomicCounter counter(kThreads);
    int written[kThreads] = {};
    int sum = 0;

    runTogether(kThreads, [&](int number) {
      written[number] = 1;
      if (counter.decrement() != 0) return;
      for (const int one : written) sum += one;
    });

    EXPECT_EQ(sum, kThreads);
  }
}

}  // namespace
