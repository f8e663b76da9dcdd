// Every day there is, against the Gregorian calendar of ICU.
#include <gtest/gtest.h>
#include <unicode/gregocal.h>

#include "QVRSysDate.h"

namespace {

constexpr int kEpochDay = 2440588;
constexpr int kReformDay = 2299161;
constexpr int kDaysSkipped = 10;
constexpr int kPastLastDay = 5373485;

/// The conversions without the checks of validity, to go past both ends.
struct Conversions : QVRSysDate {
  using QVRSysDate::CalcGregorian;
  using QVRSysDate::CalcJulian;
  using QVRSysDate::DateType;
};

struct Day {
  int day;
  int month;
  int year;
  int dayOfYear;
  int dayOfWeek;

  bool operator==(const Day&) const = default;
};

void PrintTo(const Day& day, std::ostream* out) {
  *out << day.day << '.' << day.month << '.' << day.year << ", day of year " << day.dayOfYear
       << ", weekday " << day.dayOfWeek;
}

class Oracle {
 public:
  Oracle() : calendar_(icu::TimeZone::getGMT()->clone(), status_) {}

  Day at(int dayNumber) {
    calendar_.setTime((dayNumber - double{kEpochDay}) * U_MILLIS_PER_DAY, status_);
    const bool beforeChrist = get(UCAL_ERA) == icu::GregorianCalendar::BC;
    Day day{get(UCAL_DATE), get(UCAL_MONTH) + 1, beforeChrist ? -get(UCAL_YEAR) : get(UCAL_YEAR),
            get(UCAL_DAY_OF_YEAR), get(UCAL_DAY_OF_WEEK)};
    EXPECT_TRUE(U_SUCCESS(status_));
    // The year of the reform goes on as if no day had been skipped.
    if (day.year == 1582 && dayNumber >= kReformDay) day.dayOfYear = dayOfYearWithoutReform(day);
    return day;
  }

 private:
  int get(UCalendarDateFields field) { return calendar_.get(field, status_); }

  static int dayOfYearWithoutReform(const Day& day) {
    constexpr int kBefore[] = {273, 304, 334};  // October, November, December
    return kBefore[day.month - 10] + day.day;
  }

  UErrorCode status_ = U_ZERO_ERROR;
  icu::GregorianCalendar calendar_;
};

TEST(QVRSysDateCalendarTest, EveryValidDayReadsAndSetsAsInTheCalendar) {
  Oracle oracle;
  for (int number = 0; number < kPastLastDay; ++number) {
    const Day expected = oracle.at(number);
    QVRSysDate::DateInfo info;

    const QVRSysDate date(number);
    date.getDate(info);

    const Day read{info.dayOfMonth, info.month, info.year, info.dayOfYear, info.dayOfWeek};
    ASSERT_EQ(read, expected) << number;
    ASSERT_EQ(QVRSysDate(expected.day, expected.month, expected.year), date) << number;
    ASSERT_EQ(QVRSysDate(expected.dayOfYear, expected.year), date) << number;
  }
}

TEST(QVRSysDateCalendarTest, ConversionsGoOnPastBothEnds) {
  Oracle oracle;
  for (const int number : {-1, kPastLastDay}) {
    const Day expected = oracle.at(number);
    Conversions::DateType date;

    Conversions::CalcGregorian(date, number);

    EXPECT_EQ(date.dayOfMonth, expected.day);
    EXPECT_EQ(date.month, expected.month);
    EXPECT_EQ(date.year, expected.year);
    EXPECT_EQ(date.dayOfYear, expected.dayOfYear);
    EXPECT_EQ(Conversions::CalcJulian(expected.day, expected.month, expected.year), number);
    EXPECT_EQ(Conversions::CalcJulian(expected.dayOfYear, expected.year), number);
  }
}

TEST(QVRSysDateCalendarTest, UncheckedConversionAgreesWithTheCheckedOne) {
  for (int number = 0; number < kPastLastDay; ++number) {
    Conversions::DateType date;
    Conversions::CalcGregorian(date, number);
    ASSERT_EQ(Conversions::CalcJulian(date.dayOfMonth, date.month, date.year), number);
  }
}

TEST(QVRSysDateCalendarTest, SkippedDaysOfTheReformAreGregorian) {
  for (int day = 5; day <= 14; ++day) {
    const QVRSysDate skipped(day, 10, 1582);

    EXPECT_TRUE(skipped.isValid());
    EXPECT_EQ(QVRSysDate(kReformDay) - skipped, 15 - day);
    EXPECT_EQ(QVRSysDate(day + kDaysSkipped, 10, 1582) - skipped, kDaysSkipped);
  }
}

}  // namespace
