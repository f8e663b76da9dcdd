// Dates and times where the clock or the zone fails, and how often each is asked.
#include <gtest/gtest.h>

#include <cerrno>

#include "QVRSysDateTime.h"
#include "support/PlatformPlan.h"
#include "support/ScopedEnvironment.h"

namespace {

TEST(QVRSysDateTimeFailureTest, WithoutAClockThePresentIsInvalid) {
  const PlatformPlan clock("systemTime", EINVAL);
  EXPECT_EQ(QVRSysDate::Today(), QVRSysDate());
  EXPECT_EQ(QVRSysTime::Now(), QVRSysTime());
  EXPECT_FALSE(QVRSysDateTime::Now().isValid());

  std::int64_t seconds = 7;
  QVRSysTime(5).getCTime(seconds);
  EXPECT_EQ(clock.calls(), 4U);
}

TEST(QVRSysDateTimeFailureTest, NowReadsTheClockOnce) {
  const PlatformPlan clock("systemTime", 0);
  QVRSysDateTime::Now();
  EXPECT_EQ(clock.calls(), 1U);
}

TEST(QVRSysDateTimeFailureTest, WithoutAnOffsetLocalIsGmt) {
  const ScopedEnvironment zone("TZ", "NOOFFSET-3");
  const PlatformPlan offset("standardOffset", EOVERFLOW);
  const QVRSysDateTime dateTime(QVRSysDate(1000), QVRSysTime(5));
  EXPECT_GE(offset.calls(), 1U);
  EXPECT_EQ(dateTime.getDateGMT(), QVRSysDate(1000));
  EXPECT_EQ(dateTime.getTimeGMT(), QVRSysTime(5));
}

TEST(QVRSysDateTimeFailureTest, ZoneIsAskedAboutOncePerSecondOfTheClock) {
  const ScopedEnvironment zone("TZ", "ASKED-3");
  const PlatformPlan offset("standardOffset", 0);
  std::time_t before, after;
  std::size_t calls;
  // Again where a second has passed meanwhile.
  do {
    before = std::time(nullptr);
    QVRSysDateTime::Now();
    calls = offset.calls();
    for (int i = 0; i < 100; ++i) QVRSysDateTime::Now();
    after = std::time(nullptr);
  } while (after != before);
  EXPECT_GE(calls, 1U);
  EXPECT_EQ(offset.calls(), calls);
}

}  // namespace
