// Times of day: setting, reading, sums that wrap, texts.
#include "QVRSysTime.h"

#include <gtest/gtest.h>

#include <limits>
#include <sstream>
#include <type_traits>

#include "support/ScopedEnvironment.h"
#include "support/ScopedLocale.h"

namespace {

constexpr int kMin = std::numeric_limits<int>::min();
constexpr int kMax = std::numeric_limits<int>::max();
constexpr int kDay = 86400000;

std::tm timeOf(int hour, int minute, int second) {
  std::tm time{};
  time.tm_hour = hour;
  time.tm_min = minute;
  time.tm_sec = second;
  return time;
}

/// What a time that holds `value`, however it came to it, is made of.
QVRSysTime holding(int value) {
  QVRSysTime time;
  time.setTime(value);
  return time;
}

TEST(QVRSysTimeTest, OnlyTheDestructorIsVirtual) {
  EXPECT_TRUE(std::has_virtual_destructor_v<QVRSysTime>);
  EXPECT_EQ(sizeof(QVRSysTime), 16U);
}

TEST(QVRSysTimeTest, DefaultAndClearedTimesAreInvalid) {
  QVRSysTime cleared(1000);
  cleared.clear();
  EXPECT_EQ(QVRSysTime().getMilliseconds(), -1);
  EXPECT_EQ(cleared.getMilliseconds(), -1);
  EXPECT_FALSE(cleared.isValid());
}

TEST(QVRSysTimeTest, OneNumberWrapsIntoTheDay) {
  const struct {
    int from, to;
  } cases[] = {{0, 0},
               {kDay - 1, kDay - 1},
               {kDay, 0},
               {90000000, 3600000},
               {-1, kDay - 1},
               {-kDay, 0},
               {-kDay - 1, kDay - 1},
               {kMax, kMax % kDay},
               {kMin, kMin % kDay + kDay}};
  for (const auto& c : cases) EXPECT_EQ(QVRSysTime(c.from).getMilliseconds(), c.to) << c.from;
}

TEST(QVRSysTimeTest, SettingOneNumberChecksTheUpperEndOnly) {
  const struct {
    int from;
    bool taken;
  } cases[] = {{0, true}, {kDay - 1, true}, {kDay, false}, {kMax, false}, {-1, true}, {kMin, true}};
  for (const auto& c : cases) {
    QVRSysTime time(5);
    EXPECT_EQ(time.setTime(c.from), c.taken) << c.from;
    EXPECT_EQ(time.getMilliseconds(), c.taken ? c.from : -1) << c.from;
  }
}

TEST(QVRSysTimeTest, FieldsAreCheckedAtTheUpperEndOnly) {
  const struct {
    int hour, minute, second, millisecond;
    bool taken;
    int value;
  } cases[] = {{0, 0, 0, 0, true, 0},
               {23, 59, 59, 999, true, kDay - 1},
               {12, 34, 56, 789, true, 45296789},
               {24, 0, 0, 0, false, -1},
               {0, 60, 0, 0, false, -1},
               {0, 0, 60, 0, false, -1},
               {0, 0, 0, 1000, false, -1},
               {-1, 0, 0, 0, true, -3600000},
               {1, -30, 0, 0, true, 1800000},
               {0, 0, 1, -1, true, 999},
               {kMin, 0, 0, 0, true, 0},  // 2^31 hours wrap to nothing
               {kMin, kMin, kMin, kMin, true, kMin},
               {-1193, 0, 0, 0, true, 167296}};  // past 32 bits, and valid again
  for (const auto& c : cases) {
    QVRSysTime time(5);
    EXPECT_EQ(time.setTime(c.hour, c.minute, c.second, c.millisecond), c.taken) << c.hour;
    EXPECT_EQ(time.getMilliseconds(), c.value) << c.hour << ':' << c.minute << ':' << c.second;
    EXPECT_EQ(QVRSysTime(c.hour, c.minute, c.second, c.millisecond), time);

    const std::tm broken = timeOf(c.hour, c.minute, c.second);
    QVRSysTime fromTm(5);
    EXPECT_EQ(fromTm.setCTime(broken, c.millisecond), c.taken);
    EXPECT_EQ(fromTm, time);
    EXPECT_EQ(QVRSysTime(broken, c.millisecond), time);
  }
}

TEST(QVRSysTimeTest, FieldTestsHaveUpperLimitsOnly) {
  EXPECT_TRUE(QVRSysTime::IsHourField(23) && QVRSysTime::IsHourField(kMin));
  EXPECT_FALSE(QVRSysTime::IsHourField(24));
  EXPECT_TRUE(QVRSysTime::IsMinuteField(59) && QVRSysTime::IsMinuteField(-1));
  EXPECT_FALSE(QVRSysTime::IsMinuteField(60));
  EXPECT_TRUE(QVRSysTime::IsSecondField(59) && QVRSysTime::IsSecondField(-1));
  EXPECT_FALSE(QVRSysTime::IsSecondField(60));
  EXPECT_TRUE(QVRSysTime::IsMillisecondField(999) && QVRSysTime::IsMillisecondField(-1));
  EXPECT_FALSE(QVRSysTime::IsMillisecondField(1000));
}

TEST(QVRSysTimeTest, ReadsFieldsByTruncatingDivision) {
  const struct {
    int value, hour, minute, second, millisecond;
  } cases[] = {
      {45296789, 12, 34, 56, 789}, {kDay - 1, 23, 59, 59, 999}, {0, 0, 0, 0, 0},
      {-1, 0, 0, 0, -1},           {-3600001, -1, 0, 0, -1},    {kMin, -596, -31, -23, -648}};
  for (const auto& c : cases) {
    const QVRSysTime time = holding(c.value);
    int milliseconds, hour, minute, second, millisecond;
    QVRSysTime::TimeInfo info;
    time.getTime(milliseconds);
    time.getTime(hour, minute, second, millisecond);
    time.getTime(info);

    EXPECT_EQ(milliseconds, c.value);
    EXPECT_EQ(hour, c.hour) << c.value;
    EXPECT_EQ(minute, c.minute) << c.value;
    EXPECT_EQ(second, c.second) << c.value;
    EXPECT_EQ(millisecond, c.millisecond) << c.value;
    EXPECT_EQ(info.hour, time.getHourField());
    EXPECT_EQ(info.minute, time.getMinuteField());
    EXPECT_EQ(info.second, time.getSecondField());
    EXPECT_EQ(info.millisecond, time.getMillisecondField());
    EXPECT_EQ(info.hour, c.hour);
  }
}

TEST(QVRSysTimeTest, AfternoonBeginsAtNoon) {
  EXPECT_TRUE(QVRSysTime(11, 59, 59, 999).isAM());
  EXPECT_FALSE(QVRSysTime(11, 59, 59, 999).isPM());
  EXPECT_TRUE(QVRSysTime(12, 0, 0, 0).isPM());
  EXPECT_FALSE(QVRSysTime(12, 0, 0, 0).isAM());
}

TEST(QVRSysTimeTest, SumsWrapAroundMidnightAndReportTheDays) {
  struct Case {
    int from;
    int (QVRSysTime::*add)(int);
    int count, to, days;
  };
  constexpr auto kHours = &QVRSysTime::addHours_;
  constexpr auto kMinutes = &QVRSysTime::addMinutes_;
  constexpr auto kSeconds = &QVRSysTime::addSeconds_;
  constexpr auto kMilliseconds = &QVRSysTime::addMilliseconds_;
  const Case cases[] = {{82800000, kHours, 2, 3600000, 1},
                        {3600000, kMinutes, -120, 82800000, -1},
                        {0, kMilliseconds, -kDay, 0, -1},
                        {0, kMilliseconds, -kDay - 1, kDay - 1, -2},
                        {0, kMilliseconds, -1, kDay - 1, -1},
                        {0, kSeconds, 86400, 0, 1},
                        {0, kSeconds, 86399, 86399000, 0},
                        {0, kHours, 48, 0, 2},
                        {-1, kMilliseconds, 1, 0, 0},
                        {-1, kMilliseconds, 0, kDay - 1, -1},
                        // Past 32 bits: first the sum wraps there, then the day.
                        {0, kHours, 597, -2145767296 % kDay + kDay, -25},
                        {0, kHours, kMax, kDay - 3600000, -1},
                        {0, kHours, kMin, 0, 0},
                        {1, kMilliseconds, kMax, kMin % kDay + kDay, -25},
                        {kDay - 1, kMilliseconds, kMax, -2061083650 % kDay + kDay, -24}};
  for (const auto& c : cases) {
    QVRSysTime time = holding(c.from);
    EXPECT_EQ((time.*c.add)(c.count), c.days) << c.from << " and " << c.count;
    EXPECT_EQ(time.getMilliseconds(), c.to) << c.from << " and " << c.count;
  }
}

TEST(QVRSysTimeTest, SumsWithoutDaysReturnTheTime) {
  QVRSysTime time(23, 59, 59, 999);
  EXPECT_EQ(&time.addHours(1), &time);
  EXPECT_EQ(time, QVRSysTime(0, 59, 59, 999));
  EXPECT_EQ(&time.addMinutes(1), &time);
  EXPECT_EQ(time, QVRSysTime(1, 0, 59, 999));
  EXPECT_EQ(&time.addSeconds(1), &time);
  EXPECT_EQ(time, QVRSysTime(1, 1, 0, 999));
  EXPECT_EQ(&time.addMilliseconds(1), &time);
  EXPECT_EQ(time, QVRSysTime(1, 1, 1, 0));
}

TEST(QVRSysTimeTest, ComparesTheNumbersHeld) {
  const QVRSysTime negative = holding(-5), invalid, midnight = QVRSysTime::MinTime(),
                   last = QVRSysTime::MaxTime();
  EXPECT_EQ(midnight.getMilliseconds(), 0);
  EXPECT_EQ(last.getMilliseconds(), kDay - 1);
  EXPECT_TRUE(negative < invalid && invalid < midnight && midnight < last);
  EXPECT_TRUE(last > midnight && last >= last && midnight <= last && last <= last);
  EXPECT_TRUE(negative != invalid && invalid == QVRSysTime());
  EXPECT_FALSE(last < last || last > last || last != last);
}

TEST(QVRSysTimeTest, TakesTheLocalTimeOfAnInstant) {
  const struct {
    const char* zone;
    std::int64_t seconds;
    int value;
  } cases[] = {{"UTC0", 1, 1007},
               {"XXX-1", 1, 3601007},
               {"XXX5", 1, 68401007},
               // July, with daylight saving.
               {"CET-1CEST,M3.5.0,M10.5.0/3", 1246406400, 7200007}};
  for (const auto& c : cases) {
    const ScopedEnvironment zone("TZ", c.zone);
    QVRSysTime time;
    EXPECT_TRUE(time.setCTime(c.seconds, 7));
    EXPECT_EQ(time.getMilliseconds(), c.value) << c.zone;
    EXPECT_EQ(QVRSysTime(c.seconds, 7), time);
  }
}

TEST(QVRSysTimeTest, InstantsBefore1AreMidnightOrNothing) {
  for (const std::int64_t seconds :
       {std::int64_t{0}, std::int64_t{-86399}, std::numeric_limits<std::int64_t>::min()}) {
    QVRSysTime time(5);
    EXPECT_FALSE(time.setCTime(seconds, 7)) << seconds;
    EXPECT_EQ(time.getMilliseconds(), 5);
    EXPECT_EQ(QVRSysTime(seconds, 7).getMilliseconds(), 0);
  }
}

TEST(QVRSysTimeTest, InstantsOfNoTimeMakeItInvalid) {
  QVRSysTime time(5);
  EXPECT_FALSE(time.setCTime(std::numeric_limits<std::int64_t>::max(), 7));
  EXPECT_EQ(time.getMilliseconds(), -1);
  EXPECT_FALSE(time.setCTime(std::int64_t{100}, 1000));
  EXPECT_EQ(time.getMilliseconds(), -1);
}

TEST(QVRSysTimeTest, NowIsTheLocalTimeOfDay) {
  for (const char* zone : {"XXX-9", "UTC0", "XXX7"}) {
    const ScopedEnvironment environment("TZ", zone);
    QVRSysTime before;
    before.setCTime(std::int64_t{std::time(nullptr)}, 0);

    const QVRSysTime now = QVRSysTime::Now();

    // Less than a minute later, be it past midnight.
    EXPECT_TRUE(now.isValid());
    EXPECT_LT((now.getMilliseconds() - before.getMilliseconds() + kDay) % kDay, 60000) << zone;
  }
}

TEST(QVRSysTimeTest, BrokenDownTimeHasNothingButTheTime) {
  std::tm time;
  QVRSysTime(12, 34, 56, 789).getCTime(time);

  EXPECT_EQ(time.tm_hour, 12);
  EXPECT_EQ(time.tm_min, 34);
  EXPECT_EQ(time.tm_sec, 56);
  EXPECT_EQ(time.tm_isdst, -1);
  EXPECT_EQ(time.tm_mday + time.tm_mon + time.tm_year + time.tm_wday + time.tm_yday, 0);
}

TEST(QVRSysTimeTest, SecondsAreThoseOfToday) {
  for (const char* zone : {"XXX-9", "UTC0", "XXX7"}) {
    const ScopedEnvironment environment("TZ", zone);
    const std::time_t before = std::time(nullptr);
    std::int64_t seconds;
    QVRSysTime(12, 34, 56, 789).getCTime(seconds);
    const std::time_t after = std::time(nullptr);

    const std::time_t instant = seconds;
    const std::tm local = *std::localtime(&instant);
    EXPECT_EQ(local.tm_hour, 12);
    EXPECT_EQ(local.tm_min, 34);
    EXPECT_EQ(local.tm_sec, 56);
    const int today = std::localtime(&before)->tm_yday;
    EXPECT_TRUE(local.tm_yday == today || local.tm_yday == std::localtime(&after)->tm_yday);
  }
}

TEST(QVRSysTimeTest, WritesAnyFormatInTheLocale) {
  const QVRSysTime time(15, 4, 5, 6);
  EXPECT_EQ(time.toString("%H:%M:%S %p"), "15:04:05 PM");
  EXPECT_EQ(time.toString(""), "");
  EXPECT_EQ(time.toString("at %I o'clock"), "at 03 o'clock");
  EXPECT_EQ(time.toWString(u"%H:%M:%S %p"), u"15:04:05 PM");
  EXPECT_EQ(time.toWString(u""), u"");
  EXPECT_EQ(time.toWString(u"\U0001F550 %H\u6642"), u"\U0001F550 15\u6642");

  const ScopedLocale locale("ja_JP.EUC-JP");
  EXPECT_EQ(time.toString("%p"), "\xB8\xE1\xB8\xE5");
  EXPECT_EQ(time.toWString(u"%p"), u"\u5348\u5F8C");
}

TEST(QVRSysTimeTest, WritesInvalidTimesByTheirFields) {
  EXPECT_EQ(QVRSysTime().toString("%H:%M:%S"), "00:00:00");
  EXPECT_EQ(holding(-3600000).toString("%H"), "-1");
}

TEST(QVRSysTimeTest, StreamsWithTheHalfOfTheDay) {
  std::ostringstream out;
  out << QVRSysTime(15, 4, 5, 6) << '|' << QVRSysTime(3, 4, 5, 6);
  EXPECT_EQ(out.str(), "15:04:05 PM|03:04:05 AM");
}

}  // namespace
