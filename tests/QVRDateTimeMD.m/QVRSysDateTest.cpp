// Dates: setting, reading, sums, comparison and names.
#include "QVRSysDate.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <sstream>

#include "support/ScopedEnvironment.h"
#include "support/ScopedLocale.h"

namespace {

constexpr int kMin = std::numeric_limits<int>::min();
constexpr int kMax = std::numeric_limits<int>::max();
constexpr int kLastDay = 5373484;

struct Facts : QVRSysDate {
  using QVRSysDate::CalcGregorian;
  using QVRSysDate::CalcJulian;
  using QVRSysDate::DateType;
  using QVRSysDate::DaysBeforeMonth;
};

int numberOf(const QVRSysDate& date) {
  int number;
  date.getDate(number);
  return number;
}

TEST(QVRSysDateTest, IsOneNumber) { EXPECT_EQ(sizeof(QVRSysDate), 4U); }

TEST(QVRSysDateTest, DefaultAndClearedDatesAreInvalid) {
  QVRSysDate cleared(1, 1, 2000);
  cleared.clear();

  EXPECT_FALSE(QVRSysDate().isValid());
  EXPECT_FALSE(cleared.isValid());
  EXPECT_EQ(numberOf(cleared), -1);
}

TEST(QVRSysDateTest, InvalidDateReadsAsTheDayBeforeDay0) {
  QVRSysDate::DateInfo info;

  QVRSysDate().getDate(info);

  EXPECT_EQ(info.julianDay, -1);
  EXPECT_EQ(info.dayOfMonth, 31);
  EXPECT_EQ(info.month, 12);
  EXPECT_EQ(info.year, -4714);
  EXPECT_EQ(info.dayOfYear, 365);
  EXPECT_EQ(info.dayOfWeek, 1);
  EXPECT_EQ(info.era, 0);
}

TEST(QVRSysDateTest, KnownDaysHaveTheirNumbers) {
  const struct {
    int day, month, year, number;
  } cases[] = {{1, 1, -4713, 0},       {1, 1, 1, 1721424},      {31, 12, -1, 1721423},
               {4, 10, 1582, 2299160}, {15, 10, 1582, 2299161}, {14, 10, 1582, 2299160},
               {5, 10, 1582, 2299151}, {1, 1, 1970, 2440588},   {31, 12, 9999, kLastDay},
               {29, 2, 2000, 2451604}, {29, 2, 1500, 2268992},  {29, 2, -1, 1721117},
               {29, 2, -4713, 59},     {1, 3, 1600, 2305508}};
  for (const auto& c : cases) {
    EXPECT_EQ(numberOf({c.day, c.month, c.year}), c.number)
        << c.day << '.' << c.month << '.' << c.year;
  }
  EXPECT_EQ(numberOf(QVRSysDate::DateMax()), kLastDay);
}

TEST(QVRSysDateTest, ImpossibleDatesAreRefused) {
  const struct {
    int day, month, year;
  } cases[] = {{0, 1, 2000},    {32, 1, 2000},  {29, 2, 1900},    {29, 2, 2001}, {30, 2, 2000},
               {31, 4, 2000},   {1, 0, 2000},   {1, 13, 2000},    {1, 1, 0},     {1, 1, 10000},
               {1, 1, -4714},   {-1, 1, 2000},  {kMin, 1, 2000},  {kMax, 1, 1},  {1, kMin, 2000},
               {1, kMax, 2000}, {1, 1, kMin},   {1, 1, kMax},     {29, 2, 1},    {0, 12, 1000},
               {32, 12, -5},    {29, 2, -4712}, {kMin, 12, -4713}};
  for (const auto& c : cases) {
    QVRSysDate date(1);
    EXPECT_FALSE(date.setDate(c.day, c.month, c.year)) << c.day << '.' << c.month << '.' << c.year;
    EXPECT_EQ(numberOf(date), -1);
    EXPECT_FALSE(QVRSysDate::IsDayInMonth(c.day, c.month, c.year));
    EXPECT_EQ(QVRSysDate(c.day, c.month, c.year), QVRSysDate());
  }
}

TEST(QVRSysDateTest, DayNumbersOutsideTheRangeAreRefused) {
  for (const int number : {-1, -2, kLastDay + 1, kMin, kMax}) {
    QVRSysDate date(1);
    EXPECT_FALSE(date.setDate(number)) << number;
    EXPECT_EQ(numberOf(date), -1);
    EXPECT_FALSE(QVRSysDate::IsJulianDay(number));
    EXPECT_FALSE(QVRSysDate(number).isValid());
  }
  QVRSysDate date;
  EXPECT_TRUE(date.setDate(0));
  EXPECT_TRUE(date.setDate(kLastDay));
}

TEST(QVRSysDateTest, DaysOfTheYearAreCheckedByTheYear) {
  const struct {
    int dayOfYear, year;
    bool valid;
  } cases[] = {{1, 2000, true},    {366, 2000, true}, {367, 2000, false}, {366, 2001, false},
               {0, 2000, false},   {1, 0, false},     {366, 1500, true},  {366, 1700, false},
               {366, -1, true},    {1, -4713, true},  {1, -4714, false},  {365, 9999, true},
               {366, 9999, false}, {kMin, 1, false},  {kMax, 1, false},   {1, kMin, false},
               {1, kMax, false}};
  for (const auto& c : cases) {
    QVRSysDate date(1);
    EXPECT_EQ(date.setDate(c.dayOfYear, c.year), c.valid) << c.dayOfYear << ' ' << c.year;
    EXPECT_EQ(date.isValid(), c.valid);
    EXPECT_EQ(QVRSysDate::IsDayInYear(c.dayOfYear, c.year), c.valid);
    EXPECT_EQ(QVRSysDate(c.dayOfYear, c.year).isValid(), c.valid);
  }
}

TEST(QVRSysDateTest, ReadsEveryField) {
  const QVRSysDate date(29, 2, 2004);
  int day, month, year, dayOfYear;
  date.getDate(day, month, year);
  EXPECT_EQ(day, 29);
  EXPECT_EQ(month, 2);
  EXPECT_EQ(year, 2004);
  date.getDate(dayOfYear, year);
  EXPECT_EQ(dayOfYear, 60);
  EXPECT_EQ(year, 2004);

  EXPECT_EQ(date.getDayOfYear(), 60);
  EXPECT_EQ(date.getDayOfMonth(), 29);
  EXPECT_EQ(date.getMonth(), 2);
  EXPECT_EQ(date.getYear(), 2004);
  EXPECT_EQ(date.getDayOfWeek(), 1);
  EXPECT_EQ(date.getEra(), 1);
  EXPECT_TRUE(date.isLeapYear());

  QVRSysDate::DateInfo info;
  date.getDate(info);
  EXPECT_EQ(info.julianDay, numberOf(date));
  EXPECT_EQ(info.dayOfYear, 60);
  EXPECT_EQ(info.dayOfWeek, 1);
  EXPECT_EQ(info.dayOfMonth, 29);
  EXPECT_EQ(info.month, 2);
  EXPECT_EQ(info.year, 2004);
  EXPECT_EQ(info.era, 1);
  EXPECT_EQ(info.isLeapYear, 1);
}

TEST(QVRSysDateTest, CommonEraBeginsWithTheYear1) {
  EXPECT_EQ(QVRSysDate(1, 1, 1).getEra(), 1);
  EXPECT_EQ(QVRSysDate(31, 12, -1).getEra(), 0);
}

TEST(QVRSysDateTest, WeekdaysAreCountedFromSunday) {
  EXPECT_EQ(QVRSysDate(1, 1, 1970).getDayOfWeek(), 5);
  EXPECT_EQ(QVRSysDate(0).getDayOfWeek(), 2);
}

TEST(QVRSysDateTest, LeapYearsFollowTheRuleOfTheirYear) {
  const struct {
    int year;
    bool leap;
  } cases[] = {{1500, true},       {1582, false},    {1580, true},  {1584, true},
               {1600, true},       {1700, false},    {2000, true},  {1900, false},
               {2004, true},       {2001, false},    {-1, true},    {-5, true},
               {-4, false},        {0, true},        {4, true},     {100, true},
               {kMin, false},      {kMin + 3, true}, {kMax, false}, {2147483600, true},
               {2147483500, false}};
  for (const auto& c : cases) {
    EXPECT_EQ(QVRSysDate::IsLeapYear(c.year), c.leap) << c.year;
    EXPECT_EQ(QVRSysDate::DaysInYear(c.year), c.leap ? 366 : 365) << c.year;
    EXPECT_EQ(QVRSysDate::DaysInMonth(2, c.year), c.leap ? 29 : 28) << c.year;
    EXPECT_EQ(Facts::DaysBeforeMonth(3, c.year), c.leap ? 60 : 59) << c.year;
  }
}

TEST(QVRSysDateTest, MonthsHaveTheirDays) {
  const int days[] = {0, 31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  int before = 0;
  for (int month = 0; month <= 12; ++month) {
    EXPECT_EQ(QVRSysDate::DaysInMonth(month, 2001), days[month]) << month;
    EXPECT_EQ(Facts::DaysBeforeMonth(month, 2001), before) << month;
    before += days[month];
  }
  EXPECT_EQ(Facts::DaysBeforeMonth(13, 2001), 365);
  EXPECT_EQ(Facts::DaysBeforeMonth(13, 2000), 366);
  EXPECT_EQ(Facts::DaysBeforeMonth(2, 2000), 31);
  EXPECT_EQ(Facts::DaysBeforeMonth(0, 2000), 0);
}

TEST(QVRSysDateTest, WhatIsNoMonthHasNoDays) {
  for (const int month : {-1, 13, 14, kMin, kMax}) {
    EXPECT_EQ(QVRSysDate::DaysInMonth(month, 2000), 0) << month;
    EXPECT_EQ(Facts::DaysBeforeMonth(month, 2000), month == 13 ? 366 : 0) << month;
  }
}

TEST(QVRSysDateTest, RangesAreThoseOfTheClass) {
  const struct {
    int value;
    bool weekday, month, year, era;
  } cases[] = {{kMin, false, false, false, false},  {-4714, false, false, false, false},
               {-4713, false, false, true, false},  {-1, false, false, true, false},
               {0, false, false, false, true},      {1, true, true, true, true},
               {2, true, true, true, false},        {7, true, true, true, false},
               {8, false, true, true, false},       {12, false, true, true, false},
               {13, false, false, true, false},     {9999, false, false, true, false},
               {10000, false, false, false, false}, {kMax, false, false, false, false}};
  for (const auto& c : cases) {
    EXPECT_EQ(QVRSysDate::IsDayInWeek(c.value), c.weekday) << c.value;
    EXPECT_EQ(QVRSysDate::IsMonth(c.value), c.month) << c.value;
    EXPECT_EQ(QVRSysDate::IsYear(c.value), c.year) << c.value;
    EXPECT_EQ(QVRSysDate::IsEra(c.value), c.era) << c.value;
  }
}

TEST(QVRSysDateTest, UncheckedConversionsTakeAnyNumbers) {
  // Month 13 is January of the next year, month 0 December of the one before.
  EXPECT_EQ(Facts::CalcJulian(1, 13, 2000), Facts::CalcJulian(1, 1, 2001));
  EXPECT_EQ(Facts::CalcJulian(1, 0, 2001), Facts::CalcJulian(1, 12, 2000));
  EXPECT_EQ(Facts::CalcJulian(32, 1, 2001), Facts::CalcJulian(1, 2, 2001));
  EXPECT_EQ(Facts::CalcJulian(0, 2001), Facts::CalcJulian(366, 2000));
  // Far out the formulas go on in 64 bits, of which the low 32 are kept.
  const struct {
    int a, b, ofDayOfYearAndYear, ofDayAndMonth, ofMonthAndYear;
  } cases[] = {{kMin, kMin, -535149489, 1209680944, 672810033},
               {kMin, kMax, 522485479, -1207580364, 1731787178},
               {kMax, kMin, -535149490, 1209680943, -1743109099},
               {kMax, kMax, 522485478, -1207580365, -686816309}};
  for (const auto& c : cases) {
    EXPECT_EQ(Facts::CalcJulian(c.a, c.b), c.ofDayOfYearAndYear) << c.a << ' ' << c.b;
    EXPECT_EQ(Facts::CalcJulian(c.a, c.b, 1), c.ofDayAndMonth) << c.a << ' ' << c.b;
    EXPECT_EQ(Facts::CalcJulian(1, c.a, c.b), c.ofMonthAndYear) << c.a << ' ' << c.b;
  }
}

TEST(QVRSysDateTest, StepsGoThroughTheReform) {
  QVRSysDate date(15, 10, 1582);

  EXPECT_EQ(--date, QVRSysDate(4, 10, 1582));
  EXPECT_EQ(++date, QVRSysDate(15, 10, 1582));
  EXPECT_EQ(date--, QVRSysDate(15, 10, 1582));
  EXPECT_EQ(date++, QVRSysDate(4, 10, 1582));
  EXPECT_EQ(date, QVRSysDate(15, 10, 1582));
}

TEST(QVRSysDateTest, SumsOutsideTheRangeAreInvalid) {
  const struct {
    int from, days, to;
  } cases[] = {{0, -1, -1},
               {-1, 1, 0},
               {-1, -1, -1},
               {kLastDay, 1, -1},
               {0, kLastDay, kLastDay},
               {kLastDay, -kLastDay, 0},
               {kLastDay, kMax, -1},
               {0, kMin, -1},
               {-1, kMin, -1},
               {-1, kMax, -1},
               {-1, kLastDay + 1, kLastDay},
               {-1, 0, -1},
               {100, -50, 50}};
  for (const auto& c : cases) {
    QVRSysDate sum(c.from);
    sum += c.days;
    EXPECT_EQ(numberOf(sum), c.to) << c.from << ' ' << c.days;
    EXPECT_EQ(numberOf(QVRSysDate(c.from).addDays(c.days)), c.to);
    EXPECT_EQ(numberOf(QVRSysDate(c.from) + c.days), c.to);
    EXPECT_EQ(numberOf(c.days + QVRSysDate(c.from)), c.to);
    if (c.days == kMin) continue;
    EXPECT_EQ(numberOf(QVRSysDate(c.from) - -c.days), c.to);
    EXPECT_EQ(numberOf(QVRSysDate(c.from) -= -c.days), c.to);
  }
  EXPECT_EQ(numberOf(QVRSysDate(5) -= kMin), -1);
  EXPECT_EQ(numberOf(QVRSysDate(5) - kMin), -1);
}

TEST(QVRSysDateTest, WeeksAreSevenDaysHoweverMany) {
  EXPECT_EQ(numberOf(QVRSysDate(100).addWeeks(2)), 114);
  EXPECT_EQ(numberOf(QVRSysDate(100).addWeeks(-14)), 2);
  EXPECT_EQ(numberOf(QVRSysDate(100).addWeeks(-15)), -1);
  // 7 times these, cut to 32 bits, would be back in range.
  EXPECT_EQ(numberOf(QVRSysDate(100).addWeeks(613566757)), -1);
  EXPECT_EQ(numberOf(QVRSysDate(100).addWeeks(kMin)), -1);
}

TEST(QVRSysDateTest, DifferenceIsThatOfTheNumbers) {
  EXPECT_EQ(QVRSysDate(1, 1, 2001) - QVRSysDate(1, 1, 2000), 366);
  EXPECT_EQ(QVRSysDate() - QVRSysDate::DateMax(), -kLastDay - 1);
}

TEST(QVRSysDateTest, MonthsRunOverIntoTheNext) {
  const struct {
    QVRSysDate from;
    int months;
    QVRSysDate to;
  } cases[] = {{{31, 1, 2005}, 1, {3, 3, 2005}},
               {{31, 1, 2004}, 1, {2, 3, 2004}},
               {{31, 12, 2004}, 2, {3, 3, 2005}},
               {{31, 10, 2004}, 1, {1, 12, 2004}},
               {{15, 6, 2004}, 12, {15, 6, 2005}},
               {{15, 6, 2004}, -12, {15, 6, 2003}},
               {{15, 1, 2004}, -1, {15, 12, 2003}},
               {{31, 3, 2005}, -1, {3, 3, 2005}},
               {{15, 1, 1}, -1, {15, 12, -1}},
               {{15, 12, -1}, 1, {15, 1, 1}},
               {{15, 6, -1}, 12, {15, 6, 1}},
               {{15, 6, 1}, -12, {15, 6, -1}},
               {{15, 6, 1}, -24, {15, 6, -2}},
               {{10, 9, 1582}, 1, {10, 10, 1582}},
               {{31, 12, 9999}, 1, {}},
               {{1, 12, 9999}, 0, {1, 12, 9999}},
               {{1, 1, -4713}, -1, {}},
               {{1, 1, -4713}, 14711 * 12, {1, 1, 9999}},
               {{1, 1, 2000}, kMax, {}},
               {{1, 1, 2000}, kMin, {}},
               {{}, 1, {31, 1, -4713}},
               {{}, 2, {2, 3, -4713}},
               {{}, 0, {}}};
  for (const auto& c : cases) {
    QVRSysDate date = c.from;
    EXPECT_EQ(&date.addMonths(c.months), &date);
    EXPECT_EQ(date, c.to) << c.from << " and " << c.months << " months";
  }
}

TEST(QVRSysDateTest, YearsKeepDayAndMonthAndSkipTheYear0) {
  const struct {
    QVRSysDate from;
    int years;
    QVRSysDate to;
  } cases[] = {{{29, 2, 2004}, 1, {}},
               {{29, 2, 2004}, 4, {29, 2, 2008}},
               {{28, 2, 2004}, 1, {28, 2, 2005}},
               {{5, 5, -1}, 1, {5, 5, 1}},
               {{5, 5, 1}, -1, {5, 5, -1}},
               {{5, 5, -3}, 5, {5, 5, 3}},
               {{5, 5, 3}, -5, {5, 5, -3}},
               {{5, 5, -3}, 1, {5, 5, -2}},
               {{5, 5, 1}, 9998, {5, 5, 9999}},
               {{5, 5, 1}, 9999, {}},
               {{5, 5, 1}, -4713, {5, 5, -4713}},
               {{5, 5, 1}, -4714, {}},
               {{5, 5, 2000}, kMax, {}},
               {{5, 5, 2000}, kMin, {}},
               {{5, 5, -2000}, kMin, {}},
               {{}, 1, {31, 12, -4713}}};
  for (const auto& c : cases) {
    QVRSysDate date = c.from;
    EXPECT_EQ(&date.addYears(c.years), &date);
    EXPECT_EQ(date, c.to) << c.from << " and " << c.years << " years";
  }
}

TEST(QVRSysDateTest, NextAndPreviousWeekdayAreWithinAWeek) {
  const QVRSysDate date(15, 10, 1582);  // a Friday
  for (int weekday = 1; weekday <= 7; ++weekday) {
    const QVRSysDate next = date.nextDate(weekday);
    const QVRSysDate previous = date.prevDate(weekday);

    EXPECT_EQ(next.getDayOfWeek(), weekday);
    EXPECT_GE(next - date, 1);
    EXPECT_LE(next - date, 7);
    EXPECT_EQ(previous.getDayOfWeek(), weekday);
    EXPECT_GE(date - previous, 1);
    EXPECT_LE(date - previous, 7);
  }
}

TEST(QVRSysDateTest, WhatIsNoWeekdayHasNoNextDate) {
  for (const int weekday : {0, 8, -1, kMin, kMax}) {
    EXPECT_EQ(QVRSysDate(1000).nextDate(weekday), QVRSysDate()) << weekday;
    EXPECT_EQ(QVRSysDate(1000).prevDate(weekday), QVRSysDate()) << weekday;
    EXPECT_EQ(QVRSysDate(1000).getWeekOfYear(weekday), 0) << weekday;
  }
}

TEST(QVRSysDateTest, NextDatePastTheEndGoesOnFromTheInvalidDay) {
  // The last day is a Friday; the invalid day counts as a Sunday, day 0 is a Monday.
  const QVRSysDate last = QVRSysDate::DateMax();
  EXPECT_EQ(last.getDayOfWeek(), 6);
  EXPECT_EQ(numberOf(last.nextDate(1)), -1);
  EXPECT_EQ(numberOf(last.nextDate(2)), 0);
  EXPECT_EQ(numberOf(last.nextDate(7)), 5);
  EXPECT_EQ(numberOf((last - 1).nextDate(6)), kLastDay);
  EXPECT_EQ(numberOf((last - 1).nextDate(7)), 5);
  EXPECT_EQ(numberOf(QVRSysDate().nextDate(2)), 0);
}

TEST(QVRSysDateTest, PreviousDateBeforeTheStartIsInvalid) {
  for (int weekday = 1; weekday <= 7; ++weekday) {
    EXPECT_FALSE(QVRSysDate(0).prevDate(weekday).isValid()) << weekday;
    EXPECT_FALSE(QVRSysDate().prevDate(weekday).isValid()) << weekday;
  }
  EXPECT_EQ(numberOf(QVRSysDate(7).prevDate(2)), 0);
  EXPECT_EQ(numberOf(QVRSysDate(3).prevDate(2)), 0);
  EXPECT_FALSE(QVRSysDate(3).prevDate(1).isValid());
}

TEST(QVRSysDateTest, WeeksOfTheYearBeginOnTheirFirstDay) {
  const struct {
    QVRSysDate date;
    int firstDay, week;
  } cases[] = {{{1, 1, 2000}, 7, 1},  // a Saturday
               {{1, 1, 2000}, 1, 0},
               {{2, 1, 2000}, 1, 1},
               {{8, 1, 2000}, 1, 1},
               {{9, 1, 2000}, 1, 2},
               {{31, 12, 2000}, 1, 53},
               {{7, 1, 2000}, 7, 1},
               {{8, 1, 2000}, 7, 2},
               {{1, 1, -1}, 5, 1},  // a Thursday, after 31 December -2
               {{}, 1, 0},
               {0, 2, 1},
               {0, 3, 0}};
  for (const auto& c : cases) {
    EXPECT_EQ(c.date.getWeekOfYear(c.firstDay), c.week) << c.date << ' ' << c.firstDay;
  }
}

TEST(QVRSysDateTest, WeeksOfTheYear1CountFromDay0) {
  EXPECT_EQ(QVRSysDate(1, 1, 1).getWeekOfYear(2), 1721424 / 7 + 1);
}

TEST(QVRSysDateTest, ComparesByDayNumber) {
  const QVRSysDate invalid, early(1, 1, -4713), late(1, 1, 2000);
  EXPECT_TRUE(invalid == QVRSysDate());
  EXPECT_TRUE(invalid < early && early < late);
  EXPECT_TRUE(late > early && late >= late && early <= late && early <= early);
  EXPECT_TRUE(early != late && !(early == late) && !(late < early) && !(early >= late));
  EXPECT_FALSE(early < early || early > early || early != early);
}

TEST(QVRSysDateTest, TakesBrokenDownTimes) {
  std::tm time{};
  time.tm_mday = 29;
  time.tm_mon = 1;
  time.tm_year = 104;
  QVRSysDate date;
  EXPECT_TRUE(date.setCTime(time));
  EXPECT_EQ(date, QVRSysDate(29, 2, 2004));

  time.tm_year = 105;
  EXPECT_FALSE(date.setCTime(time));
  EXPECT_FALSE(date.isValid());
}

TEST(QVRSysDateTest, RefusesBrokenDownTimesOfAnyNumbers) {
  for (const int number : {kMin, kMax, kMax - 1899, kMax - 1900}) {
    std::tm time{};
    time.tm_mday = 1;
    time.tm_year = number;
    EXPECT_FALSE(QVRSysDate(1).setCTime(time)) << number;
    time.tm_year = 100;
    time.tm_mon = number;
    EXPECT_FALSE(QVRSysDate(1).setCTime(time)) << number;
  }
}

TEST(QVRSysDateTest, TakesTheLocalDateOfAnInstant) {
  const struct {
    const char* zone;
    std::int64_t seconds;
    QVRSysDate date;
  } cases[] = {{"UTC0", 0, {1, 1, 1970}},
               {"XXX-1", 86400 - 3600, {2, 1, 1970}},
               {"XXX5", 3600, {31, 12, 1969}},
               {"UTC0", -1, {31, 12, 1969}},
               {"UTC0", -12219292800, {15, 10, 1582}},
               {"UTC0", 253402300799, {31, 12, 9999}},
               {"UTC0", 253402300800, {}},
               {"UTC0", std::numeric_limits<std::int64_t>::max(), {}},
               {"UTC0", std::numeric_limits<std::int64_t>::min(), {}}};
  for (const auto& c : cases) {
    const ScopedEnvironment zone("TZ", c.zone);
    QVRSysDate date(1);
    EXPECT_EQ(date.setCTime(c.seconds), c.date.isValid()) << c.seconds;
    EXPECT_EQ(date, c.date) << c.zone << ' ' << c.seconds;
  }
}

TEST(QVRSysDateTest, TodayIsTheLocalDate) {
  for (const char* zone : {"XXX-14", "UTC0", "XXX12"}) {
    const ScopedEnvironment environment("TZ", zone);
    QVRSysDate before, after;
    before.setCTime(std::int64_t{std::time(nullptr)});
    const QVRSysDate today = QVRSysDate::Today();
    after.setCTime(std::int64_t{std::time(nullptr)});

    EXPECT_TRUE(today == before || today == after) << zone;
  }
}

TEST(QVRSysDateTest, BrokenDownTimeHasTheTimeOfDayOfTheEpoch) {
  const ScopedEnvironment zone("TZ", "XXX-5:30");
  std::tm time;

  QVRSysDate(29, 2, 2004).getCTime(time);

  EXPECT_EQ(time.tm_mday, 29);
  EXPECT_EQ(time.tm_mon, 1);
  EXPECT_EQ(time.tm_year, 104);
  EXPECT_EQ(time.tm_yday, 59);
  EXPECT_EQ(time.tm_wday, 0);
  EXPECT_EQ(time.tm_hour, 5);
  EXPECT_EQ(time.tm_min, 30);
  EXPECT_EQ(time.tm_sec, 0);
  EXPECT_EQ(time.tm_isdst, 0);
}

TEST(QVRSysDateTest, SecondsAreThoseAtTheTimeOfDayOfTheEpoch) {
  const struct {
    const char* zone;
    QVRSysDate date;
    std::int64_t seconds;
  } cases[] = {{"UTC0", {1, 1, 1970}, 0},
               {"UTC0", {2, 1, 1970}, 86400},
               {"UTC0", {31, 12, 1969}, -1},
               {"UTC0", {31, 12, 9999}, 253402214400},
               {"UTC0", {}, -1},
               {"XXX-2", {1, 1, 1970}, 0},
               {"XXX-2", {2, 1, 1970}, 86400},
               // The evening before, in a zone west of Greenwich.
               {"XXX5", {1, 1, 1970}, 86400}};
  for (const auto& c : cases) {
    const ScopedEnvironment zone("TZ", c.zone);
    std::int64_t seconds = 7;
    c.date.getCTime(seconds);
    EXPECT_EQ(seconds, c.seconds) << c.zone << ' ' << c.date;
  }
}

TEST(QVRSysDateTest, WritesTheConversionInTheLocale) {
  const QVRSysDate date(29, 2, 2004);
  EXPECT_EQ(date.toString('D'), "02/29/04");
  EXPECT_EQ(date.toString('A'), "Sunday");
  EXPECT_EQ(date.toString('j'), "060");
  EXPECT_EQ(date.toString('%'), "%");
  EXPECT_EQ(date.toString('\0'), "%");
  EXPECT_EQ(date.toStringW(u'D'), u"02/29/04");
  EXPECT_EQ(date.toStringW(u'\0'), u"%");
  EXPECT_EQ(date.toStringW(u'\x4E00'), u"%\x4E00");

  const ScopedLocale locale("de_DE.ISO-8859-1");
  EXPECT_EQ(date.toString('B'), "Februar");
  EXPECT_EQ(QVRSysDate(1, 3, 2004).toString('B'), "M\xE4rz");
  EXPECT_EQ(QVRSysDate(1, 3, 2004).toStringW(u'B'), u"M\u00E4rz");
}

TEST(QVRSysDateTest, WritesYearsBeforeChrist) {
  EXPECT_EQ(QVRSysDate(1, 1, -4713).toString('Y'), "-4713");
  EXPECT_EQ(QVRSysDate().toString('Y'), "-4714");
}

TEST(QVRSysDateTest, StreamsAsMonthDayYear) {
  std::ostringstream out;
  out << QVRSysDate(9, 11, 2026);
  EXPECT_EQ(out.str(), "11/09/26");
}

TEST(QVRSysDateTest, NamesMonthsAndWeekdaysOfTheLocale) {
  EXPECT_EQ(QVRSysDate::MonthName(3, true), "March");
  EXPECT_EQ(QVRSysDate::MonthName(12, false), "Dec");
  EXPECT_EQ(QVRSysDate::MonthNameW(1, true), u"January");
  EXPECT_EQ(QVRSysDate::DayOfWeekName(1, true), "Sunday");
  EXPECT_EQ(QVRSysDate::DayOfWeekName(7, false), "Sat");
  EXPECT_EQ(QVRSysDate::DayOfWeekNameW(2, false), u"Mon");

  const ScopedLocale locale("de_DE.UTF-8");
  EXPECT_EQ(QVRSysDate::MonthName(3, true), "M\u00E4rz");
  EXPECT_EQ(QVRSysDate::MonthNameW(3, true), u"M\u00E4rz");
  EXPECT_EQ(QVRSysDate::DayOfWeekName(7, true), "Samstag");
  EXPECT_EQ(QVRSysDate::DayOfWeekNameW(7, true), u"Samstag");

  std::string name;
  std::u16string wideName;
  int day, year;
  QVRSysDate(31, 3, 2000).getDate(day, name, year);
  EXPECT_EQ(name, "M\u00E4rz");
  EXPECT_EQ(day, 31);
  EXPECT_EQ(year, 2000);
  QVRSysDate(30, 3, 2001).getDate(day, wideName, year);
  EXPECT_EQ(wideName, u"M\u00E4rz");
  EXPECT_EQ(day, 30);
  EXPECT_EQ(year, 2001);
}

TEST(QVRSysDateTest, WhatIsNoMonthOrWeekdayHasTheNameOfTheSystem) {
  for (const int number : {0, 13, kMin, kMax}) {
    EXPECT_EQ(QVRSysDate::MonthName(number, true), "?") << number;
    EXPECT_EQ(QVRSysDate::MonthNameW(number, false), u"?") << number;
    EXPECT_EQ(QVRSysDate::DayOfWeekName(number, true), "?") << number;
    EXPECT_EQ(QVRSysDate::DayOfWeekNameW(number, false), u"?") << number;
  }
}

TEST(QVRSysDateTest, NamesErasTheSameEverywhere) {
  const ScopedLocale locale("de_DE.UTF-8");
  EXPECT_EQ(QVRSysDate::EraName(0, false), "BC");
  EXPECT_EQ(QVRSysDate::EraName(1, false), "AD");
  EXPECT_EQ(QVRSysDate::EraName(0, true), "BCE");
  EXPECT_EQ(QVRSysDate::EraName(1, true), "CE");
  EXPECT_EQ(QVRSysDate::EraNameW(0, false), u"BC");
  EXPECT_EQ(QVRSysDate::EraNameW(1, true), u"CE");
  EXPECT_EQ(QVRSysDate::EraName(2, true), "");
  EXPECT_EQ(QVRSysDate::EraNameW(-1, false), u"");
}

}  // namespace
