#include "QVRSysTime.h"

#include <ostream>

#include "QVRSystem/QVRDateTimeMD.m/src/QVRLocalClock.h"

namespace {

constexpr int kHour = 3'600'000;
constexpr int kMinute = 60'000;
constexpr int kSecond = 1000;
constexpr int kDay = 86'400'000;

// Signed sums of 32 bits that wrap around, by way of unsigned ones, which may.
int wrappedSum(int value, int count, int unit) noexcept {
  return static_cast<int>(static_cast<unsigned>(value) +
                          static_cast<unsigned>(count) * static_cast<unsigned>(unit));
}

}  // namespace

QVRSysTime::QVRSysTime(int milliseconds) noexcept { wrap(milliseconds); }

QVRSysTime::QVRSysTime(int hour, int minute, int second, int millisecond) noexcept {
  setTime(hour, minute, second, millisecond);
}

QVRSysTime::QVRSysTime(const std::tm& time, int millisecond) noexcept {
  setCTime(time, millisecond);
}

QVRSysTime::QVRSysTime(const std::int64_t& secondsSinceEpoch, int millisecond) noexcept
    : milliseconds_(0) {
  setCTime(secondsSinceEpoch, millisecond);
}

QVRSysTime::~QVRSysTime() = default;

bool QVRSysTime::setTime(int milliseconds) noexcept {
  const bool taken = milliseconds < kDay;
  milliseconds_ = taken ? milliseconds : kInvalid;
  return taken;
}

bool QVRSysTime::setTime(int hour, int minute, int second, int millisecond) noexcept {
  clear();
  const bool taken = IsHourField(hour) && IsMinuteField(minute) && IsSecondField(second) &&
                     IsMillisecondField(millisecond);
  if (!taken) return false;
  milliseconds_ = wrappedSum(wrappedSum(wrappedSum(millisecond, second, kSecond), minute, kMinute),
                             hour, kHour);
  return true;
}

bool QVRSysTime::setCTime(const std::tm& time, int millisecond) noexcept {
  return setTime(time.tm_hour, time.tm_min, time.tm_sec, millisecond);
}

bool QVRSysTime::setCTime(const std::int64_t& secondsSinceEpoch, int millisecond) noexcept {
  if (secondsSinceEpoch < 1) return false;
  std::tm time;
  clear();
  return qvr::localTime(secondsSinceEpoch, time) && setCTime(time, millisecond);
}

QVRSysTime QVRSysTime::Now() noexcept {
  const qvr::LocalNow now = qvr::localNow();
  return now.second < 1 ? QVRSysTime() : QVRSysTime(now.local, now.millisecond);
}

QVRSysTime QVRSysTime::MinTime() noexcept { return 0; }

QVRSysTime QVRSysTime::MaxTime() noexcept { return kDay - 1; }

void QVRSysTime::getTime(int& hour, int& minute, int& second, int& millisecond) const noexcept {
  hour = getHourField();
  minute = getMinuteField();
  second = getSecondField();
  millisecond = getMillisecondField();
}

void QVRSysTime::getTime(TimeInfo& info) const noexcept {
  getTime(info.hour, info.minute, info.second, info.millisecond);
}

int QVRSysTime::getHourField() const noexcept { return milliseconds_ / kHour; }

int QVRSysTime::getMinuteField() const noexcept { return milliseconds_ % kHour / kMinute; }

int QVRSysTime::getSecondField() const noexcept { return milliseconds_ % kMinute / kSecond; }

int QVRSysTime::getMillisecondField() const noexcept { return milliseconds_ % kSecond; }

bool QVRSysTime::isAM() const noexcept { return getHourField() < 12; }

bool QVRSysTime::isPM() const noexcept { return !isAM(); }

bool QVRSysTime::isValid() const noexcept { return milliseconds_ >= 0 && milliseconds_ < kDay; }

void QVRSysTime::getCTime(std::tm& time) const noexcept {
  time = {};
  time.tm_hour = getHourField();
  time.tm_min = getMinuteField();
  time.tm_sec = getSecondField();
  time.tm_isdst = -1;
}

void QVRSysTime::getCTime(std::int64_t& secondsSinceEpoch) const noexcept {
  std::tm today = qvr::localNow().local;
  today.tm_hour = getHourField();
  today.tm_min = getMinuteField();
  today.tm_sec = getSecondField();
  secondsSinceEpoch = qvr::secondsSinceEpoch(today);
}

std::string QVRSysTime::toString(const char* format) const {
  std::tm time;
  getCTime(time);
  return qvr::textOf(time, format);
}

std::u16string QVRSysTime::toWString(const wchar16* format) const {
  std::tm time;
  getCTime(time);
  return qvr::textOf(time, format);
}

bool QVRSysTime::IsHourField(int hour) noexcept { return hour < 24; }

bool QVRSysTime::IsMinuteField(int minute) noexcept { return minute < 60; }

bool QVRSysTime::IsSecondField(int second) noexcept { return second < 60; }

bool QVRSysTime::IsMillisecondField(int millisecond) noexcept { return millisecond <= 999; }

QVRSysTime& QVRSysTime::addHours(int hours) noexcept {
  addHours_(hours);
  return *this;
}

QVRSysTime& QVRSysTime::addMinutes(int minutes) noexcept {
  addMinutes_(minutes);
  return *this;
}

QVRSysTime& QVRSysTime::addSeconds(int seconds) noexcept {
  addSeconds_(seconds);
  return *this;
}

QVRSysTime& QVRSysTime::addMilliseconds(int milliseconds) noexcept {
  addMilliseconds_(milliseconds);
  return *this;
}

int QVRSysTime::addHours_(int hours) noexcept { return add(hours, kHour); }

int QVRSysTime::addMinutes_(int minutes) noexcept { return add(minutes, kMinute); }

int QVRSysTime::addSeconds_(int seconds) noexcept { return add(seconds, kSecond); }

int QVRSysTime::addMilliseconds_(int milliseconds) noexcept { return add(milliseconds, 1); }

int QVRSysTime::add(int count, int unit) noexcept {
  return wrap(wrappedSum(milliseconds_, count, unit));
}

// Stores the time of day and returns the days carried: division rounded down.
int QVRSysTime::wrap(std::int64_t milliseconds) noexcept {
  auto days = static_cast<int>(milliseconds / kDay);
  milliseconds_ = static_cast<int>(milliseconds % kDay);
  if (milliseconds_ < 0) {
    milliseconds_ += kDay;
    --days;
  }
  return days;
}

std::ostream& operator<<(std::ostream& out, const QVRSysTime& time) {
  return out << time.toString("%H:%M:%S %p");
}
