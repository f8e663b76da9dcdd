// The signatures of dates and times that other modules compile against.
#include <ctime>
#include <string>

#include "QVRStopwatch.h"
#include "QVRSysDate.h"
#include "QVRSysDateTime.h"
#include "QVRSysTime.h"
#include "contract/Signature.h"

namespace date {

using D = QVRSysDate;
static_assert(!std::is_polymorphic_v<D> && sizeof(D) == 4);
static_assert(makesImplicitly<D, int> && std::is_constructible_v<D, int, int> &&
              std::is_constructible_v<D, int, int, int> && std::is_default_constructible_v<D>);
static_assert(has<void (D::*)()>(&D::clear));
static_assert(has<bool (D::*)(int)>(&D::setDate) && has<bool (D::*)(int, int)>(&D::setDate) &&
              has<bool (D::*)(int, int, int)>(&D::setDate));
static_assert(has<bool (D::*)(const tm&)>(&D::setCTime) &&
              has<bool (D::*)(const std::int64_t&)>(&D::setCTime));
static_assert(has<D (*)()>(&D::Today) && has<D (*)()>(&D::DateMax));
static_assert(has<void (D::*)(int&) const>(&D::getDate) &&
              has<void (D::*)(int&, int&) const>(&D::getDate) &&
              has<void (D::*)(int&, int&, int&) const>(&D::getDate) &&
              has<void (D::*)(int&, std::string&, int&) const>(&D::getDate) &&
              has<void (D::*)(int&, std::u16string&, int&) const>(&D::getDate) &&
              has<void (D::*)(D::DateInfo&) const>(&D::getDate));
static_assert(has<int (D::*)() const>(&D::getDayOfYear) &&
              has<int (D::*)() const>(&D::getDayOfMonth) && has<int (D::*)() const>(&D::getMonth) &&
              has<int (D::*)() const>(&D::getYear) && has<int (D::*)() const>(&D::getDayOfWeek) &&
              has<int (D::*)() const>(&D::getEra));
static_assert(has<bool (D::*)() const>(&D::isLeapYear) && has<bool (D::*)() const>(&D::isValid));
static_assert(has<int (D::*)(int) const>(&D::getWeekOfYear));
static_assert(has<void (D::*)(tm&) const>(&D::getCTime) &&
              has<void (D::*)(std::int64_t&) const>(&D::getCTime));
static_assert(has<std::string (D::*)(char) const>(&D::toString) &&
              has<std::u16string (D::*)(char16_t) const>(&D::toStringW));
static_assert(has<D& (D::*)()>(&D::operator++) && has<D (D::*)(int)>(&D::operator++) &&
              has<D& (D::*)()>(&D::operator--) && has<D (D::*)(int)>(&D::operator--));
static_assert(has<D& (D::*)(int)>(&D::operator+=) && has<D& (D::*)(int)>(&D::operator-=));
static_assert(has<D& (D::*)(int)>(&D::addDays) && has<D& (D::*)(int)>(&D::addWeeks) &&
              has<D& (D::*)(int)>(&D::addMonths) && has<D& (D::*)(int)>(&D::addYears));
static_assert(has<D (D::*)(int) const>(&D::nextDate) && has<D (D::*)(int) const>(&D::prevDate));
static_assert(std::is_same_v<decltype(D() + 1), D> && std::is_same_v<decltype(1 + D()), D> &&
              std::is_same_v<decltype(D() - 1), D> && std::is_same_v<decltype(D() - D()), int>);
static_assert(std::is_same_v<decltype(D() < D()), bool>);
static_assert(has<bool (*)(int)>(&D::IsJulianDay) && has<bool (*)(int)>(&D::IsDayInWeek) &&
              has<bool (*)(int)>(&D::IsMonth) && has<bool (*)(int)>(&D::IsYear) &&
              has<bool (*)(int)>(&D::IsEra) && has<bool (*)(int)>(&D::IsLeapYear) &&
              has<bool (*)(int, int)>(&D::IsDayInYear) &&
              has<bool (*)(int, int, int)>(&D::IsDayInMonth));
static_assert(has<int (*)(int)>(&D::DaysInYear) && has<int (*)(int, int)>(&D::DaysInMonth));
static_assert(has<std::string (*)(int, bool)>(&D::MonthName) &&
              has<std::u16string (*)(int, bool)>(&D::MonthNameW) &&
              has<std::string (*)(int, bool)>(&D::DayOfWeekName) &&
              has<std::u16string (*)(int, bool)>(&D::DayOfWeekNameW) &&
              has<std::string (*)(int, bool)>(&D::EraName) &&
              has<std::u16string (*)(int, bool)>(&D::EraNameW));

struct Derived : D {
  static_assert(has<int (*)(int, int)>(&D::DaysBeforeMonth));
  static_assert(has<int (*)(int, int, int)>(&D::CalcJulian) &&
                has<int (*)(int, int)>(&D::CalcJulian));
  static_assert(has<void (*)(D::DateType&, int)>(&D::CalcGregorian));
  static constexpr D::DateType kFields = {1, 2, 3, 4};  // day, month, year, day of year
  static_assert(kFields.dayOfMonth == 1 && kFields.month == 2 && kFields.year == 3 &&
                kFields.dayOfYear == 4);
};

static constexpr D::DateInfo kInfo = {1, 2, 3, 4, 5, 6, 7, 8};
static_assert(kInfo.julianDay == 1 && kInfo.dayOfYear == 2 && kInfo.dayOfWeek == 3 &&
              kInfo.dayOfMonth == 4 && kInfo.month == 5 && kInfo.year == 6 && kInfo.era == 7 &&
              kInfo.isLeapYear == 8);

}  // namespace date

namespace timeOfDay {

using T = QVRSysTime;
static_assert(std::has_virtual_destructor_v<T>);
static_assert(std::is_default_constructible_v<T> && makesImplicitly<T, int> &&
              std::is_constructible_v<T, int, int, int, int> &&
              std::is_constructible_v<T, const tm&, int> &&
              std::is_constructible_v<T, const std::int64_t&, int>);
static_assert(has<void (T::*)()>(&T::clear));
static_assert(has<bool (T::*)(int)>(&T::setTime) &&
              has<bool (T::*)(int, int, int, int)>(&T::setTime));
static_assert(has<bool (T::*)(const tm&, int)>(&T::setCTime) &&
              has<bool (T::*)(const std::int64_t&, int)>(&T::setCTime));
static_assert(has<T (*)()>(&T::Now) && has<T (*)()>(&T::MinTime) && has<T (*)()>(&T::MaxTime));
static_assert(has<void (T::*)(int&) const>(&T::getTime) &&
              has<void (T::*)(int&, int&, int&, int&) const>(&T::getTime) &&
              has<void (T::*)(T::TimeInfo&) const>(&T::getTime));
static_assert(has<int (T::*)() const>(&T::getMilliseconds) &&
              has<int (T::*)() const>(&T::getHourField) &&
              has<int (T::*)() const>(&T::getMinuteField) &&
              has<int (T::*)() const>(&T::getSecondField) &&
              has<int (T::*)() const>(&T::getMillisecondField));
static_assert(has<bool (T::*)() const>(&T::isAM) && has<bool (T::*)() const>(&T::isPM) &&
              has<bool (T::*)() const>(&T::isValid));
static_assert(has<void (T::*)(tm&) const>(&T::getCTime) &&
              has<void (T::*)(std::int64_t&) const>(&T::getCTime));
static_assert(has<std::string (T::*)(const char*) const>(&T::toString) &&
              has<std::u16string (T::*)(const char16_t*) const>(&T::toWString));
static_assert(has<bool (*)(int)>(&T::IsHourField) && has<bool (*)(int)>(&T::IsMinuteField) &&
              has<bool (*)(int)>(&T::IsSecondField) && has<bool (*)(int)>(&T::IsMillisecondField));
static_assert(has<T& (T::*)(int)>(&T::addHours) && has<T& (T::*)(int)>(&T::addMinutes) &&
              has<T& (T::*)(int)>(&T::addSeconds) && has<T& (T::*)(int)>(&T::addMilliseconds));
static_assert(has<int (T::*)(int)>(&T::addHours_) && has<int (T::*)(int)>(&T::addMinutes_) &&
              has<int (T::*)(int)>(&T::addSeconds_) && has<int (T::*)(int)>(&T::addMilliseconds_));

static constexpr T::TimeInfo kInfo = {1, 2, 3, 4};
static_assert(kInfo.hour == 1 && kInfo.minute == 2 && kInfo.second == 3 && kInfo.millisecond == 4);

}  // namespace timeOfDay

namespace dateTime {

using P = QVRSysDateTime;
static_assert(std::is_default_constructible_v<P> &&
              std::is_constructible_v<P, const QVRSysDate&, const QVRSysTime&> &&
              std::is_constructible_v<P, const std::int64_t&, int> &&
              std::is_constructible_v<P, const tm&, int>);
static_assert(has<bool (P::*)(const QVRSysDate&, const QVRSysTime&)>(&P::setDateTime));
static_assert(has<P (*)()>(&P::Now));
static_assert(has<QVRSysDate (P::*)() const>(&P::getDate) &&
              has<QVRSysTime (P::*)() const>(&P::getTime));
static_assert(std::is_convertible_v<decltype(std::declval<const P&>().getDateGMT()), QVRSysDate> &&
              std::is_convertible_v<decltype(std::declval<const P&>().getTimeGMT()), QVRSysTime>);
static_assert(has<void (P::*)(tm&) const>(&P::getCTimeGMT) &&
              has<void (P::*)(tm&) const>(&P::getCTimeLocal) &&
              has<void (P::*)(std::int64_t&) const>(&P::getCTime));
static_assert(has<std::string (P::*)(char, const char*) const>(&P::toString) &&
              has<std::u16string (P::*)(char16_t, const char16_t*) const>(&P::toWString));
static_assert(has<bool (P::*)() const>(&P::isValid));
static_assert(has<P& (P::*)(int)>(&P::addHours) && has<P& (P::*)(int)>(&P::addMinutes) &&
              has<P& (P::*)(int)>(&P::addSeconds) && has<P& (P::*)(int)>(&P::addMilliseconds) &&
              has<P& (P::*)(int)>(&P::addDays) && has<P& (P::*)(int)>(&P::addWeeks) &&
              has<P& (P::*)(int)>(&P::addMonths) && has<P& (P::*)(int)>(&P::addYears));
static_assert(has<const P& (P::*)(const P&) const>(&P::max) &&
              has<const P& (P::*)(const P&) const>(&P::min));

}  // namespace dateTime

namespace stopwatch {

using W = QVRStopwatch;
static_assert(has<void (W::*)()>(&W::start) && has<void (W::*)()>(&W::stop) &&
              has<void (W::*)()>(&W::reset));
static_assert(has<bool (W::*)() const>(&W::isRunning) && has<double (W::*)() const>(&W::read) &&
              has<std::int64_t (W::*)() const>(&W::readMicro));
static_assert(has<double (*)()>(&W::GetResolution) && has<int (*)()>(&W::GetResolutionMicro));

}  // namespace stopwatch
