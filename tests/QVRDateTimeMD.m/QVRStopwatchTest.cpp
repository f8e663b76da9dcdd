// What a stopwatch reads in each of its states.
#include "QVRStopwatch.h"

#include <gtest/gtest.h>

#include <latch>
#include <thread>
#include <vector>

#include "StopwatchStatics.h"

namespace {

TEST(QVRStopwatchTest, StartsOutStoppedAtZero) {
  const QVRStopwatch watch;
  EXPECT_FALSE(watch.isRunning());
  EXPECT_EQ(watch.read(), 0.0);
  EXPECT_EQ(watch.readMicro(), 0);
}

TEST(QVRStopwatchTest, ReadingGrowsWhileRunning) {
  QVRStopwatch watch;
  watch.start();
  const double first = watch.read();
  while (watch.read() <= first) {
  }
  EXPECT_TRUE(watch.isRunning());
  EXPECT_GE(first, 0.0);
  EXPECT_LT(first, 60.0);
}

TEST(QVRStopwatchTest, ReadingIsFixedAfterStop) {
  QVRStopwatch watch;
  watch.start();
  while (watch.readMicro() < 5) {
  }
  watch.stop();

  const double seconds = watch.read();
  const std::int64_t microseconds = watch.readMicro();

  EXPECT_FALSE(watch.isRunning());
  EXPECT_GE(microseconds, 5);
  EXPECT_EQ(watch.read(), seconds);
  EXPECT_EQ(watch.readMicro(), microseconds);
  EXPECT_NEAR(seconds * 1e6, static_cast<double>(microseconds), 1.0);
}

TEST(QVRStopwatchTest, StoppingTwiceKeepsTheReading) {
  QVRStopwatch watch;
  watch.start();
  watch.stop();
  const double seconds = watch.read();
  watch.stop();
  EXPECT_EQ(watch.read(), seconds);
}

TEST(QVRStopwatchTest, StartingTwiceKeepsTheFirstStart) {
  QVRStopwatch watch;
  watch.start();
  while (watch.readMicro() < 50) {
  }
  watch.start();
  EXPECT_GE(watch.readMicro(), 50);
}

TEST(QVRStopwatchTest, StartingAgainBeginsAfresh) {
  QVRStopwatch outer, watch;
  watch.start();
  while (watch.readMicro() < 5000) {
  }
  watch.stop();
  outer.start();
  watch.start();
  watch.stop();
  outer.stop();
  EXPECT_LE(watch.read(), outer.read());
}

TEST(QVRStopwatchTest, ResetStopsAtZero) {
  QVRStopwatch watch;
  watch.start();
  while (watch.readMicro() < 5) {
  }
  watch.stop();

  watch.reset();

  EXPECT_FALSE(watch.isRunning());
  EXPECT_EQ(watch.read(), 0.0);
  EXPECT_EQ(watch.readMicro(), 0);
}

TEST(QVRStopwatchTest, ResetWhileRunningStopsAtZero) {
  QVRStopwatch watch;
  watch.start();
  watch.reset();
  EXPECT_FALSE(watch.isRunning());
  EXPECT_EQ(watch.read(), 0.0);
}

TEST(QVRStopwatchTest, ResolutionIsThatOfTheCounter) {
  const QVRStopwatch watch;
  EXPECT_EQ(StopwatchStatics::_Frequency, 1000000000);
  EXPECT_FALSE(StopwatchStatics::_UsingGetTickCount);
  EXPECT_EQ(QVRStopwatch::GetResolution(), 1e-9);
  EXPECT_EQ(QVRStopwatch::GetResolutionMicro(), 0);
}

TEST(QVRStopwatchTest, ThreadsMakeThemAtOnce) {
  constexpr int kThreads = 4;
  std::latch start(kThreads);
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      start.arrive_and_wait();
      for (int round = 0; round < 1000; ++round) {
        QVRStopwatch watch;
        watch.start();
        watch.stop();
        watch.read();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(QVRStopwatch::GetResolution(), 1e-9);
}

}  // namespace
