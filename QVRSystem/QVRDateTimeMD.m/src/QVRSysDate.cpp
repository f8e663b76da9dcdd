#include "QVRSysDate.h"

#include <limits>
#include <ostream>

#include "QVRStrftime.h"
#include "QVRSystem/QVRDateTimeMD.m/src/QVRLocalClock.h"

namespace {

constexpr int kFirstCommonEraDay = 1721424;  // 1 January 1
constexpr int kFirstGregorianDay = 2299161;  // 15 October 1582
constexpr int kFirstEpochDay = 2440588;      // 1 January 1970
constexpr int kLastDay = 5373484;            // 31 December 9999
constexpr int kFirstYear = -4713;
constexpr int kLastYear = 9999;
constexpr int kLastJulianYear = 1582;

// Years counted with a year 0, which is 1 BC.
constexpr int astronomical(int year) noexcept { return year < 0 ? year + 1 : year; }

constexpr bool isWithin(int value, int first, int last) noexcept {
  return value >= first && value <= last;
}

constexpr std::int64_t withReform(std::int64_t julian, std::int64_t year) noexcept {
  return julian < kFirstGregorianDay ? julian : julian + year / 400 - year / 100 + 38;
}

// For any arguments: in 64 bits none overflows.
constexpr int dayNumberOf(std::int64_t day, std::int64_t month, int year) noexcept {
  const std::int64_t a = (14 - month) / 12;
  const std::int64_t y = astronomical(year) + INT64_C(4800) - a;
  const std::int64_t m = month + 12 * a - 3;
  return static_cast<int>(withReform(day + (153 * m + 2) / 5 + 365 * y + y / 4 - 32083, y));
}

constexpr int dayNumberOf(std::int64_t dayOfYear, int year) noexcept {
  const std::int64_t y = astronomical(year) + INT64_C(4799);
  return static_cast<int>(withReform(dayOfYear + 365 * y + y / 4 - 31777, y));
}

/// What the formula makes of a month, once and for all.
struct Month {
  std::uint16_t days;        // without the leap day
  std::uint16_t yearOffset;  // to the year that began on 1 March, counted from -4800
  std::int32_t daysBefore;   // in that year
};

constexpr Month kMonths[] = {{31, 4799, 306}, {28, 4799, 337}, {31, 4800, 0},   {30, 4800, 31},
                             {31, 4800, 61},  {30, 4800, 92},  {31, 4800, 122}, {31, 4800, 153},
                             {30, 4800, 184}, {31, 4800, 214}, {30, 4800, 245}, {31, 4800, 275}};

// The day number of nearly every date that callers set: one in a year after that
// of the reform, other than 29 February. -1 for all others, good or bad.
constexpr int usualDayNumberOf(int day, int month, int year) noexcept {
  if (!isWithin(year, kLastJulianYear + 1, kLastYear) || !isWithin(month, 1, 12)) return -1;
  const Month& facts = kMonths[month - 1];
  if (static_cast<unsigned>(day) - 1 >= facts.days) return -1;
  const auto y = static_cast<std::uint32_t>(year + facts.yearOffset);
  const std::uint32_t century = y / 100;
  const auto daysOfYears = static_cast<int>(1461 * y / 4 - century + century / 4);
  return daysOfYears + facts.daysBefore + day - 32045;
}

struct CalendarDay {
  int day;
  int month;
  int year;  // counted with a year 0
};

// The date of a day of a century (Gregorian) or of all time (Julian), the day in
// quarters, which are what a year has a whole number of. Years begin on 1 March
// here, and so end with the leap day. Quotient and remainder of a day by the length
// of a year, and of a day of the year by that of a month, come out of one product
// each: C. Neri, L. Schneider, "Euclidean affine functions and their application to
// calendar algorithms".
constexpr CalendarDay dayOf(std::uint32_t century, std::uint32_t quarterDay) noexcept {
  constexpr std::uint32_t kYearFactor = 2939745;  // 2^32 / 1461, rounded up
  constexpr std::uint32_t kDaysUntilJanuary = 306;
  const std::uint64_t years = std::uint64_t{kYearFactor} * quarterDay;
  const std::uint32_t dayOfYear = static_cast<std::uint32_t>(years) / kYearFactor / 4;
  const std::uint32_t months = 2141 * dayOfYear + 197913;
  // A number, for a branch on random days is guessed wrong too often.
  const std::uint32_t yearsCarried = (dayOfYear + 512 - kDaysUntilJanuary) / 512;
  const std::uint32_t year = 100 * century + static_cast<std::uint32_t>(years >> 32);
  return {static_cast<int>((months & 0xFFFF) / 2141 + 1),
          static_cast<int>((months >> 16) - 12 * yearsCarried),
          static_cast<int>(year + yearsCarried - 4800)};
}

constexpr CalendarDay dayOf(int dayNumber) noexcept {
  constexpr std::uint32_t kFourCenturies = 4 * 36524 + 1;
  const auto j = static_cast<std::uint32_t>(dayNumber);
  if (dayNumber >= kFirstGregorianDay) [[likely]] {
    const std::uint32_t quarterDay = 4 * (j + 32044) + 3;
    return dayOf(quarterDay / kFourCenturies, quarterDay % kFourCenturies | 3);
  }
  CalendarDay date = dayOf(0, 4 * (j + 32082) + 3);
  if (date.year < 1) --date.year;
  return date;
}

constexpr int kNameless = -1;

template <class Char>
auto monthText(int month, const Char* format) {
  std::tm time{};
  time.tm_mon = QVRSysDate::IsMonth(month) ? month - 1 : kNameless;
  return QVRStrftime(format, time);
}

template <class Char>
auto weekdayText(int dayOfWeek, const Char* format) {
  std::tm time{};
  time.tm_wday = QVRSysDate::IsDayInWeek(dayOfWeek) ? dayOfWeek - 1 : kNameless;
  return QVRStrftime(format, time);
}

}  // namespace

QVRSysDate::QVRSysDate(int day, int month, int year) noexcept
    : dayNumber_(usualDayNumberOf(day, month, year)) {
  if (!isValid()) [[unlikely]]
    setUnusualDate(day, month, year);
}

bool QVRSysDate::setDate(int dayOfYear, int year) noexcept {
  const bool valid = IsDayInYear(dayOfYear, year);
  dayNumber_ = valid ? dayNumberOf(dayOfYear, year) : kInvalid;
  return valid;
}

bool QVRSysDate::setDate(int day, int month, int year) noexcept {
  dayNumber_ = usualDayNumberOf(day, month, year);
  return isValid() || setUnusualDate(day, month, year);
}

bool QVRSysDate::setUnusualDate(int day, int month, int year) noexcept {
  const bool valid = IsDayInMonth(day, month, year);
  dayNumber_ = valid ? dayNumberOf(day, month, year) : kInvalid;
  return valid;
}

bool QVRSysDate::setCTime(const std::tm& time) noexcept {
  constexpr int kMost = std::numeric_limits<int>::max() - 1900;
  clear();
  if (time.tm_mon > 11 || time.tm_year > kMost) return false;
  return setDate(time.tm_mday, time.tm_mon + 1, time.tm_year + 1900);
}

bool QVRSysDate::setCTime(const std::int64_t& secondsSinceEpoch) noexcept {
  std::tm time;
  clear();
  return qvr::localTime(secondsSinceEpoch, time) && setCTime(time);
}

QVRSysDate QVRSysDate::Today() noexcept {
  QVRSysDate today;
  today.setCTime(qvr::localNow().local);
  return today;
}

QVRSysDate QVRSysDate::DateMax() noexcept { return kLastDay; }

void QVRSysDate::getDate(int& dayOfYear, int& year) const noexcept {
  const DateType date = this->date();
  dayOfYear = date.dayOfYear;
  year = date.year;
}

void QVRSysDate::getDate(int& day, int& month, int& year) const noexcept {
  const CalendarDay date = dayOf(dayNumber_);
  day = date.day;
  month = date.month;
  year = date.year;
}

void QVRSysDate::getDate(int& day, std::string& monthName, int& year) const {
  int month;
  getDate(day, month, year);
  monthName = MonthName(month, true);
}

void QVRSysDate::getDate(int& day, std::u16string& monthName, int& year) const {
  int month;
  getDate(day, month, year);
  monthName = MonthNameW(month, true);
}

void QVRSysDate::getDate(DateInfo& info) const noexcept {
  const DateType date = this->date();
  info = {dayNumber_, date.dayOfYear, getDayOfWeek(), date.dayOfMonth,
          date.month, date.year,      getEra(),       IsLeapYear(date.year)};
}

int QVRSysDate::getDayOfYear() const noexcept { return date().dayOfYear; }

int QVRSysDate::getDayOfMonth() const noexcept { return date().dayOfMonth; }

int QVRSysDate::getMonth() const noexcept { return date().month; }

int QVRSysDate::getYear() const noexcept { return date().year; }

int QVRSysDate::getDayOfWeek() const noexcept { return (dayNumber_ + 1) % 7 + 1; }

int QVRSysDate::getEra() const noexcept { return dayNumber_ >= kFirstCommonEraDay ? 1 : 0; }

bool QVRSysDate::isLeapYear() const noexcept { return IsLeapYear(getYear()); }

int QVRSysDate::getWeekOfYear(int firstDayOfWeek) const noexcept {
  if (!IsDayInWeek(firstDayOfWeek)) return 0;
  const QVRSysDate lastOfPreviousYear(31, 12, getYear() - 1);
  const QVRSysDate first = lastOfPreviousYear.nextDate(firstDayOfWeek);
  return *this < first ? 0 : (*this - first) / 7 + 1;
}

void QVRSysDate::getCTime(std::tm& time) const noexcept {
  const DateType date = this->date();
  qvr::localTime(0, time);
  time.tm_mday = date.dayOfMonth;
  time.tm_mon = date.month - 1;
  time.tm_year = date.year - 1900;
  time.tm_yday = date.dayOfYear - 1;
  time.tm_wday = getDayOfWeek() - 1;
}

void QVRSysDate::getCTime(std::int64_t& secondsSinceEpoch) const noexcept {
  secondsSinceEpoch = -1;
  if (dayNumber_ < kFirstEpochDay) return;
  std::tm time;
  getCTime(time);
  secondsSinceEpoch = qvr::secondsSinceEpoch(time);
}

std::string QVRSysDate::toString(char conversion) const {
  const char format[] = {'%', conversion, '\0'};
  std::tm time;
  getCTime(time);
  return qvr::textOf(time, format);
}

std::u16string QVRSysDate::toStringW(wchar16 conversion) const {
  const wchar16 format[] = {u'%', conversion, u'\0'};
  std::tm time;
  getCTime(time);
  return qvr::textOf(time, format);
}

QVRSysDate QVRSysDate::operator++(int) noexcept {
  const QVRSysDate before = *this;
  ++*this;
  return before;
}

QVRSysDate QVRSysDate::operator--(int) noexcept {
  const QVRSysDate before = *this;
  --*this;
  return before;
}

QVRSysDate& QVRSysDate::operator-=(int days) noexcept { return moveBy(-std::int64_t{days}); }

QVRSysDate& QVRSysDate::addDays(int days) noexcept { return moveBy(days); }

QVRSysDate& QVRSysDate::addWeeks(int weeks) noexcept { return moveBy(std::int64_t{weeks} * 7); }

QVRSysDate& QVRSysDate::addMonths(int months) noexcept {
  const DateType from = date();
  const std::int64_t since0 = std::int64_t{astronomical(from.year)} * 12 + from.month - 1 + months;
  const std::int64_t month0 = (since0 % 12 + 12) % 12;
  const std::int64_t year0 = (since0 - month0) / 12;
  const auto year = static_cast<int>(year0 < 1 ? year0 - 1 : year0);
  auto month = static_cast<int>(month0 + 1);
  int day = from.dayOfMonth;
  // Never out of December, which has all the days that a month can have.
  if (const int days = DaysInMonth(month, year); day > days) {
    day -= days;
    ++month;
  }
  setDate(day, month, year);
  return *this;
}

QVRSysDate& QVRSysDate::addYears(int years) noexcept {
  const DateType from = date();
  std::int64_t year = std::int64_t{from.year} + years;
  if (from.year < 0 && year >= 0) ++year;
  if (from.year > 0 && year < 1) --year;
  setDate(from.dayOfMonth, from.month, static_cast<int>(year));
  return *this;
}

QVRSysDate QVRSysDate::nextDate(int dayOfWeek) const noexcept {
  if (!IsDayInWeek(dayOfWeek)) return {};
  QVRSysDate result = *this;
  do {
    ++result;
  } while (result.getDayOfWeek() != dayOfWeek);
  return result;
}

QVRSysDate QVRSysDate::prevDate(int dayOfWeek) const noexcept {
  if (!IsDayInWeek(dayOfWeek)) return {};
  const int daysBack = (getDayOfWeek() - dayOfWeek + 6) % 7 + 1;
  return *this - daysBack;
}

bool QVRSysDate::IsJulianDay(int dayNumber) noexcept { return isWithin(dayNumber, 0, kLastDay); }

bool QVRSysDate::IsDayInWeek(int dayOfWeek) noexcept { return isWithin(dayOfWeek, 1, 7); }

bool QVRSysDate::IsMonth(int month) noexcept { return isWithin(month, 1, 12); }

bool QVRSysDate::IsYear(int year) noexcept {
  return isWithin(year, kFirstYear, kLastYear) && year != 0;
}

bool QVRSysDate::IsEra(int era) noexcept { return era == 0 || era == 1; }

bool QVRSysDate::IsLeapYear(int year) noexcept {
  const int y = astronomical(year);
  if (y % 4 != 0) return false;
  return year <= kLastJulianYear || y % 100 != 0 || y % 400 == 0;
}

bool QVRSysDate::IsDayInYear(int dayOfYear, int year) noexcept {
  return IsYear(year) && isWithin(dayOfYear, 1, DaysInYear(year));
}

bool QVRSysDate::IsDayInMonth(int day, int month, int year) noexcept {
  return IsMonth(month) && IsYear(year) && isWithin(day, 1, DaysInMonth(month, year));
}

int QVRSysDate::DaysInYear(int year) noexcept { return IsLeapYear(year) ? 366 : 365; }

int QVRSysDate::DaysInMonth(int month, int year) noexcept {
  if (!IsMonth(month)) return 0;
  return kMonths[month - 1].days + (month == 2 && IsLeapYear(year) ? 1 : 0);
}

std::string QVRSysDate::MonthName(int month, bool full) {
  return monthText(month, full ? "%B" : "%b");
}

std::u16string QVRSysDate::MonthNameW(int month, bool full) {
  return monthText(month, full ? u"%B" : u"%b");
}

std::string QVRSysDate::DayOfWeekName(int dayOfWeek, bool full) {
  return weekdayText(dayOfWeek, full ? "%A" : "%a");
}

std::u16string QVRSysDate::DayOfWeekNameW(int dayOfWeek, bool full) {
  return weekdayText(dayOfWeek, full ? u"%A" : u"%a");
}

std::string QVRSysDate::EraName(int era, bool commonEra) {
  if (!IsEra(era)) return {};
  if (commonEra) return era == 0 ? "BCE" : "CE";
  return era == 0 ? "BC" : "AD";
}

std::u16string QVRSysDate::EraNameW(int era, bool commonEra) {
  const std::string name = EraName(era, commonEra);
  return {name.begin(), name.end()};
}

int QVRSysDate::DaysBeforeMonth(int month, int year) noexcept {
  static constexpr int kDays[] = {0, 0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365};
  if (month < 1 || month > 13) return 0;
  return kDays[month] + (month > 2 && IsLeapYear(year) ? 1 : 0);
}

int QVRSysDate::CalcJulian(int day, int month, int year) noexcept {
  return dayNumberOf(day, month, year);
}

int QVRSysDate::CalcJulian(int dayOfYear, int year) noexcept {
  return dayNumberOf(dayOfYear, year);
}

void QVRSysDate::CalcGregorian(DateType& date, int dayNumber) noexcept {
  const CalendarDay day = dayOf(dayNumber);
  date = {day.day, day.month, day.year, DaysBeforeMonth(day.month, day.year) + day.day};
}

QVRSysDate& QVRSysDate::moveBy(std::int64_t days) noexcept {
  const std::int64_t moved = dayNumber_ + days;
  dayNumber_ = moved >= 0 && moved <= kLastDay ? static_cast<int>(moved) : kInvalid;
  return *this;
}

QVRSysDate::DateType QVRSysDate::date() const noexcept {
  DateType result;
  CalcGregorian(result, dayNumber_);
  return result;
}

QVRSysDate operator+(const QVRSysDate& date, int days) noexcept { return QVRSysDate(date) += days; }

QVRSysDate operator+(int days, const QVRSysDate& date) noexcept { return date + days; }

QVRSysDate operator-(const QVRSysDate& date, int days) noexcept { return QVRSysDate(date) -= days; }

int operator-(const QVRSysDate& left, const QVRSysDate& right) noexcept {
  int leftNumber;
  int rightNumber;
  left.getDate(leftNumber);
  right.getDate(rightNumber);
  return leftNumber - rightNumber;
}

std::ostream& operator<<(std::ostream& out, const QVRSysDate& date) {
  return out << date.toString('D');
}
