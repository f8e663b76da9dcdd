#include "QVRSysDateTime.h"

#include <ostream>

#include "QVRSystem/QVRDateTimeMD.m/src/QVRLocalClock.h"

QVRSysDateTime::QVRSysDateTime(const QVRSysDate& date, const QVRSysTime& time) noexcept
    : date_(date), time_(time) {
  shiftBy(qvr::standardOffset());
}

QVRSysDateTime::QVRSysDateTime(const std::int64_t& secondsSinceEpoch, int millisecond) noexcept {
  setCTime(secondsSinceEpoch, millisecond);
}

QVRSysDateTime::QVRSysDateTime(const std::tm& time, int millisecond) noexcept {
  setCTime(time, millisecond);
}

QVRSysDateTime& QVRSysDateTime::operator=(const QVRSysDateTime& other) noexcept {
  int dayNumber;
  other.date_.getDate(dayNumber);
  date_.setDate(dayNumber);
  time_.setTime(other.time_.getMilliseconds());
  return *this;
}

bool QVRSysDateTime::setDateTime(const QVRSysDate& date, const QVRSysTime& time) noexcept {
  int dayNumber;
  date.getDate(dayNumber);
  if (!date_.setDate(dayNumber) || !time_.setTime(time.getMilliseconds())) return false;
  shiftBy(qvr::standardOffset());
  return true;
}

bool QVRSysDateTime::setCTime(const std::tm& time, int millisecond) noexcept {
  if (!date_.setCTime(time) || !time_.setCTime(time, millisecond)) return false;
  shiftBy(qvr::standardOffset());
  return true;
}

bool QVRSysDateTime::setCTime(const std::int64_t& secondsSinceEpoch, int millisecond) noexcept {
  std::tm time;
  // A record of an instant that local time cannot tell has no valid date.
  qvr::localTime(secondsSinceEpoch, time);
  return setCTime(time, millisecond);
}

QVRSysDateTime QVRSysDateTime::Now() noexcept {
  const qvr::LocalNow now = qvr::localNow();
  QVRSysDateTime result;
  result.date_.setCTime(now.local);
  if (now.second >= 1) result.time_.setCTime(now.local, now.millisecond);
  result.shiftBy(now.minutesWest);
  return result;
}

QVRSysDate QVRSysDateTime::getDate() const noexcept { return local().date_; }

QVRSysTime QVRSysDateTime::getTime() const noexcept { return local().time_; }

void QVRSysDateTime::getCTimeGMT(std::tm& time) const noexcept {
  date_.getCTime(time);
  time.tm_hour = time_.getHourField();
  time.tm_min = time_.getMinuteField();
  time.tm_sec = time_.getSecondField();
}

void QVRSysDateTime::getCTimeLocal(std::tm& time) const noexcept {
  const QVRSysDateTime here = local();
  here.time_.getCTime(time);
  QVRSysDate::DateInfo date;
  here.date_.getDate(date);
  time.tm_mday = date.dayOfMonth;
  time.tm_mon = date.month - 1;
  time.tm_year = date.year - 1900;
  time.tm_wday = date.dayOfWeek - 1;
  time.tm_yday = date.dayOfYear - 1;
}

void QVRSysDateTime::getCTime(std::int64_t& secondsSinceEpoch) const noexcept {
  std::tm time;
  getCTimeLocal(time);
  secondsSinceEpoch = qvr::secondsSinceEpoch(time);
}

std::string QVRSysDateTime::toString(char dateConversion, const char* timeFormat) const {
  const QVRSysDateTime here = local();
  return here.date_.toString(dateConversion) + ' ' + here.time_.toString(timeFormat);
}

std::u16string QVRSysDateTime::toWString(wchar16 dateConversion, const wchar16* timeFormat) const {
  const QVRSysDateTime here = local();
  return here.date_.toStringW(dateConversion) + u' ' + here.time_.toWString(timeFormat);
}

QVRSysDateTime& QVRSysDateTime::addHours(int hours) noexcept {
  date_ += time_.addHours_(hours);
  return *this;
}

QVRSysDateTime& QVRSysDateTime::addMinutes(int minutes) noexcept {
  shiftBy(minutes);
  return *this;
}

QVRSysDateTime& QVRSysDateTime::addSeconds(int seconds) noexcept {
  date_ += time_.addSeconds_(seconds);
  return *this;
}

QVRSysDateTime& QVRSysDateTime::addMilliseconds(int milliseconds) noexcept {
  date_ += time_.addMilliseconds_(milliseconds);
  return *this;
}

QVRSysDateTime& QVRSysDateTime::addDays(int days) noexcept {
  date_.addDays(days);
  return *this;
}

QVRSysDateTime& QVRSysDateTime::addWeeks(int weeks) noexcept {
  date_.addWeeks(weeks);
  return *this;
}

QVRSysDateTime& QVRSysDateTime::addMonths(int months) noexcept {
  date_.addMonths(months);
  return *this;
}

QVRSysDateTime& QVRSysDateTime::addYears(int years) noexcept {
  date_.addYears(years);
  return *this;
}

bool QVRSysDateTime::operator==(const QVRSysDateTime& other) const noexcept {
  return date_ == other.date_ && time_ == other.time_;
}

bool QVRSysDateTime::operator<(const QVRSysDateTime& other) const noexcept {
  return date_ < other.date_ || (date_ == other.date_ && time_ < other.time_);
}

const QVRSysDateTime& QVRSysDateTime::max(const QVRSysDateTime& other) const noexcept {
  return *this < other ? other : *this;
}

const QVRSysDateTime& QVRSysDateTime::min(const QVRSysDateTime& other) const noexcept {
  return other < *this ? other : *this;
}

void QVRSysDateTime::shiftBy(int minutes) noexcept { date_ += time_.addMinutes_(minutes); }

QVRSysDateTime QVRSysDateTime::local() const noexcept {
  QVRSysDateTime result(*this);
  result.shiftBy(-qvr::standardOffset());
  return result;
}

std::ostream& operator<<(std::ostream& out, const QVRSysDateTime& dateTime) {
  return out << dateTime.toString('D', "%H:%M:%S %p");
}
