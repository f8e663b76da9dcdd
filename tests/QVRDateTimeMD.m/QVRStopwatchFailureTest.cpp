// Stopwatches on a system without a high-resolution counter, and at chosen counts.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>

#include "QVRStopwatch.h"
#include "StopwatchStatics.h"
#include "support/PlatformPlan.h"

struct QVRStopwatchTestAccess {
  static void setCounts(QVRStopwatch& watch, std::int64_t start, std::int64_t stop) {
    watch.start_ = start;
    watch.stop_ = stop;
  }
};

namespace {

using Access = QVRStopwatchTestAccess;

/// For its scope the system has the tick count only.
class WithoutCounter {
 public:
  WithoutCounter() : plan_("counterFrequency", ENOSYS) { const QVRStopwatch asksAgain; }
  ~WithoutCounter() { restore(); }

 private:
  void restore() {
    const PlatformPlan working("counterFrequency", 0);
    const QVRStopwatch asksAgain;
  }

  const PlatformPlan plan_;
};

TEST(QVRStopwatchFailureTest, EveryStopwatchAsksForTheFrequencyAgain) {
  {
    const WithoutCounter system;
    EXPECT_TRUE(StopwatchStatics::_UsingGetTickCount);
  }
  EXPECT_FALSE(StopwatchStatics::_UsingGetTickCount);
  EXPECT_EQ(StopwatchStatics::_Frequency, 1000000000);
}

TEST(QVRStopwatchFailureTest, TicksAreMilliseconds) {
  const WithoutCounter system;
  EXPECT_EQ(QVRStopwatch::GetResolution(), 0.001);
  EXPECT_EQ(QVRStopwatch::GetResolutionMicro(), 1000);

  QVRStopwatch watch;
  Access::setCounts(watch, 1000, 3500);
  EXPECT_EQ(watch.read(), 2.5);
  EXPECT_EQ(watch.readMicro(), 2500000);
}

TEST(QVRStopwatchFailureTest, TicksSurviveOneWrap) {
  const WithoutCounter system;
  QVRStopwatch watch;
  Access::setCounts(watch, 0xFFFFFFF0, 0x10);
  EXPECT_EQ(watch.read(), 0.032);
  EXPECT_EQ(watch.readMicro(), 32000);
  Access::setCounts(watch, 0, 0xFFFFFFFF);
  EXPECT_EQ(watch.readMicro(), 4294967295000);
}

TEST(QVRStopwatchFailureTest, TicksAreCountedFromStartToStop) {
  const WithoutCounter system;
  const PlatformPlan counter("counter", 0);
  const PlatformPlan ticks("tickCount", 0);
  QVRStopwatch watch;

  watch.start();
  watch.readMicro();
  watch.stop();

  EXPECT_EQ(ticks.calls(), 3U);
  EXPECT_EQ(counter.calls(), 0U);
  EXPECT_GE(watch.readMicro(), 0);
  EXPECT_EQ(watch.readMicro() % 1000, 0);
}

TEST(QVRStopwatchFailureTest, CountsAreReadOnlyWhereTheStateNeedsThem) {
  const PlatformPlan counter("counter", 0);
  QVRStopwatch watch;
  watch.stop();
  watch.read();
  EXPECT_EQ(counter.calls(), 0U);

  watch.start();
  watch.start();
  EXPECT_EQ(counter.calls(), 1U);

  watch.stop();
  watch.read();
  watch.stop();
  watch.reset();
  EXPECT_EQ(counter.calls(), 2U);
}

TEST(QVRStopwatchFailureTest, CountsBecomeSecondsAndWholeMicroseconds) {
  QVRStopwatch watch;
  const struct {
    std::int64_t start, stop;
    double seconds;
    std::int64_t microseconds;
  } cases[] = {{0, 0, 0.0, 0},
               {5, 1504, 1.499e-6, 1},
               {0, 999, 9.99e-7, 0},
               {0, 3000, 3e-6, 3},
               {0, 2500000000, 2.5, 2500000},
               {0, INT64_MAX, 9223372036.854775807, 9223372036854775}};
  for (const auto& c : cases) {
    Access::setCounts(watch, c.start, c.stop);
    EXPECT_DOUBLE_EQ(watch.read(), c.seconds) << c.stop;
    EXPECT_EQ(watch.readMicro(), c.microseconds) << c.stop;
  }
}

}  // namespace
