// Calendar dates.
#pragma once

#include <cstdint>
#include <ctime>
#include <iosfwd>
#include <string>

#include "QVRSystemExport.h"
#include "QVRTypes.h"

/// A calendar date, held as one Julian day number: days since 1 January 4713 BC.
///
/// Days before 15 October 1582 are read and written in the Julian calendar, later
/// ones in the Gregorian. There is no year 0: the year before 1 is -1 (1 BC).
/// Valid are day 0, 1 January -4713, to day 5373484, 31 December 9999.
///
/// What is no date makes the object invalid, day number -1; nothing here throws
/// but std::bad_alloc for want of memory for a text. An invalid date comes before
/// every valid one, equals every other invalid one, reads as 31 December -4714,
/// and goes on to day 0 when stepped forward. Sums are exact however large the
/// number: what lies outside the range is invalid.
///
/// @par Thread safety
/// A plain value: different objects may be used by different threads at once.
/// What asks for local time follows TZ as QVRLocalTime() does.
/// @par Cost
/// A few nanoseconds for all but texts and what asks for local time.
class QVRSYSTEM_API QVRSysDate {
 public:
  /// Everything about one date.
  struct DateInfo {
    int julianDay;   ///< day number
    int dayOfYear;   ///< 1 to 366
    int dayOfWeek;   ///< 1 (Sunday) to 7 (Saturday)
    int dayOfMonth;  ///< 1 to 31
    int month;       ///< 1 to 12
    int year;        ///< not 0, negative before Christ
    int era;         ///< 0 before Christ, 1 in the common era
    int isLeapYear;  ///< 0 or 1
  };

  /// Invalid.
  QVRSysDate() noexcept = default;
  /// As the setDate() of the same arguments.
  QVRSysDate(int dayNumber) noexcept { setDate(dayNumber); }
  QVRSysDate(int dayOfYear, int year) noexcept { setDate(dayOfYear, year); }
  QVRSysDate(int day, int month, int year) noexcept;

  /// Makes the date invalid.
  void clear() noexcept { dayNumber_ = kInvalid; }

  /// Each sets the date and says whether there is such a one; if not, the date is
  /// invalid. The days 5 to 14 October 1582, which the reform skipped, are taken
  /// as Gregorian ones.
  bool setDate(int dayNumber) noexcept {
    const bool valid = static_cast<unsigned>(dayNumber) < kFirstInvalid;
    dayNumber_ = valid ? dayNumber : kInvalid;
    return valid;
  }
  bool setDate(int dayOfYear, int year) noexcept;
  bool setDate(int day, int month, int year) noexcept;

  /// From tm_mday, tm_mon and tm_year.
  bool setCTime(const std::tm& time) noexcept;
  /// The local date at an instant; invalid where local time cannot tell it.
  bool setCTime(const std::int64_t& secondsSinceEpoch) noexcept;

  /// The present local date; invalid where the clock or the zone fails.
  static QVRSysDate Today() noexcept;
  /// 31 December 9999.
  static QVRSysDate DateMax() noexcept;

  void getDate(int& dayNumber) const noexcept { dayNumber = dayNumber_; }
  void getDate(int& dayOfYear, int& year) const noexcept;
  void getDate(int& day, int& month, int& year) const noexcept;
  /// The month by its full name in the locale.
  void getDate(int& day, std::string& monthName, int& year) const;
  void getDate(int& day, std::u16string& monthName, int& year) const;
  void getDate(DateInfo& info) const noexcept;

  int getDayOfYear() const noexcept;
  int getDayOfMonth() const noexcept;
  int getMonth() const noexcept;
  int getYear() const noexcept;
  /// 1 (Sunday) to 7 (Saturday).
  int getDayOfWeek() const noexcept;
  /// 0 before 1 January 1, otherwise 1.
  int getEra() const noexcept;
  /// Whether the date's year is one: IsLeapYear().
  bool isLeapYear() const noexcept;
  bool isValid() const noexcept { return dayNumber_ >= 0; }

  /// Which of the weeks that begin on `firstDayOfWeek` (1 to 7) the date is in,
  /// from 1; 0 before the year's first such day and for any other argument. In
  /// the year 1, whose previous year is none, weeks count from day 0 on.
  int getWeekOfYear(int firstDayOfWeek) const noexcept;

  /// The date in a broken-down time, with the local time of day and the
  /// daylight-saving flag of the instant 0.
  void getCTime(std::tm& time) const noexcept;
  /// Seconds since the epoch of that broken-down time; -1 before 1 January 1970
  /// and where mktime() fails.
  void getCTime(std::int64_t& secondsSinceEpoch) const noexcept;

  /// The date as the one strftime() conversion gives it in the locale.
  std::string toString(char conversion) const;
  std::u16string toStringW(wchar16 conversion) const;

  QVRSysDate& operator++() noexcept { return addDays(1); }
  QVRSysDate operator++(int) noexcept;
  QVRSysDate& operator--() noexcept { return addDays(-1); }
  QVRSysDate operator--(int) noexcept;
  QVRSysDate& operator+=(int days) noexcept { return addDays(days); }
  QVRSysDate& operator-=(int days) noexcept;

  QVRSysDate& addDays(int days) noexcept;
  QVRSysDate& addWeeks(int weeks) noexcept;
  /// The same day so many months later. Days that the month lacks run into the
  /// next one: 31 January and a month is 3 March, or 2 March in a leap year.
  QVRSysDate& addMonths(int months) noexcept;
  /// The same day and month so many years later: invalid where 29 February meets
  /// a year that has none.
  QVRSysDate& addYears(int years) noexcept;

  /// The first date after this one that falls on the weekday, 1 to 7; invalid for
  /// any other. Past the last day the search goes on from -1, a Sunday.
  QVRSysDate nextDate(int dayOfWeek) const noexcept;
  /// The last date before this one that falls on the weekday, 1 to 7; invalid for
  /// any other and where there is none.
  QVRSysDate prevDate(int dayOfWeek) const noexcept;

  bool operator==(const QVRSysDate& other) const noexcept { return dayNumber_ == other.dayNumber_; }
  bool operator!=(const QVRSysDate& other) const noexcept { return dayNumber_ != other.dayNumber_; }
  bool operator<(const QVRSysDate& other) const noexcept { return dayNumber_ < other.dayNumber_; }
  bool operator<=(const QVRSysDate& other) const noexcept { return dayNumber_ <= other.dayNumber_; }
  bool operator>(const QVRSysDate& other) const noexcept { return dayNumber_ > other.dayNumber_; }
  bool operator>=(const QVRSysDate& other) const noexcept { return dayNumber_ >= other.dayNumber_; }

  static bool IsJulianDay(int dayNumber) noexcept;
  /// 1 to 7.
  static bool IsDayInWeek(int dayOfWeek) noexcept;
  static bool IsMonth(int month) noexcept;
  /// -4713 to 9999 without 0.
  static bool IsYear(int year) noexcept;
  static bool IsEra(int era) noexcept;
  /// By the Julian rule up to 1582, by the Gregorian from 1583 on. Any number:
  /// 0 counts as 1 BC does.
  static bool IsLeapYear(int year) noexcept;
  static bool IsDayInYear(int dayOfYear, int year) noexcept;
  static bool IsDayInMonth(int day, int month, int year) noexcept;
  /// 365 or 366, by IsLeapYear().
  static int DaysInYear(int year) noexcept;
  /// 0 for what is no month.
  static int DaysInMonth(int month, int year) noexcept;

  /// The locale's name of the month, whole or abbreviated.
  static std::string MonthName(int month, bool full);
  static std::u16string MonthNameW(int month, bool full);
  /// The locale's name of the weekday, whole or abbreviated.
  static std::string DayOfWeekName(int dayOfWeek, bool full);
  static std::u16string DayOfWeekNameW(int dayOfWeek, bool full);
  /// "BC" and "AD", or "BCE" and "CE" of the common era; empty for what is no era.
  static std::string EraName(int era, bool commonEra);
  static std::u16string EraNameW(int era, bool commonEra);

 protected:
  /// What a day number converts to; ranges as in DateInfo.
  struct DateType {
    int dayOfMonth;
    int month;
    int year;
    int dayOfYear;
  };

  /// Days of the year before the first of the month, of 13 all of them; 0 for what
  /// is no month.
  static int DaysBeforeMonth(int month, int year) noexcept;

  /// The day number of a date that is not checked, cut to 32 bits.
  static int CalcJulian(int day, int month, int year) noexcept;
  static int CalcJulian(int dayOfYear, int year) noexcept;

  /// The date of a day number between -32082 and 1073709779; of any other, the
  /// fields mean nothing.
  static void CalcGregorian(DateType& date, int dayNumber) noexcept;

 private:
  static constexpr int kInvalid = -1;
  static constexpr unsigned kFirstInvalid = 5373485;  // negative ones, unsigned, lie above

  bool setUnusualDate(int day, int month, int year) noexcept;
  QVRSysDate& moveBy(std::int64_t days) noexcept;
  DateType date() const noexcept;

  int dayNumber_ = kInvalid;
};

QVRSYSTEM_API QVRSysDate operator+(const QVRSysDate& date, int days) noexcept;
QVRSYSTEM_API QVRSysDate operator+(int days, const QVRSysDate& date) noexcept;
QVRSYSTEM_API QVRSysDate operator-(const QVRSysDate& date, int days) noexcept;
/// The difference of the day numbers.
QVRSYSTEM_API int operator-(const QVRSysDate& left, const QVRSysDate& right) noexcept;

/// Writes toString('D'): month/day/two-digit year.
QVRSYSTEM_API std::ostream& operator<<(std::ostream& out, const QVRSysDate& date);
