// Dates with times of day.
#pragma once

#include <cstdint>
#include <ctime>
#include <iosfwd>
#include <string>

#include "QVRSysDate.h"
#include "QVRSysTime.h"
#include "QVRSystemExport.h"
#include "QVRTypes.h"

/// A date and a time of day, held in GMT, given and shown in local time.
///
/// Local is what the zone's present standard time makes of GMT: the offset never
/// holds daylight saving, so what is held while that is on is one hour off GMT,
/// and reads back as it was given. The offset is asked for afresh at every
/// crossing: a value that is read in another zone than it was made in moves along.
///
/// Valid when both halves are; the sums are made of invalid halves too. Nothing
/// here throws but std::bad_alloc for want of memory for a text.
///
/// @par Thread safety
/// A plain value: different objects may be used by different threads at once.
/// Follows TZ as QVRLocalTime() does, without TZ at most a second late.
class QVRSYSTEM_API QVRSysDateTime {
 public:
  /// Both halves invalid.
  QVRSysDateTime() noexcept = default;
  /// From a local date and time.
  QVRSysDateTime(const QVRSysDate& date, const QVRSysTime& time) noexcept;
  /// As setCTime() of an object of invalid halves.
  QVRSysDateTime(const std::int64_t& secondsSinceEpoch, int millisecond) noexcept;
  QVRSysDateTime(const std::tm& time, int millisecond) noexcept;

  QVRSysDateTime(const QVRSysDateTime&) noexcept = default;
  /// Copies; a half outside its range becomes invalid.
  QVRSysDateTime& operator=(const QVRSysDateTime& other) noexcept;

  /// Sets date and time from local ones. @return whether both could be set, the
  /// date first; where one fails, what is set so far stays and is not shifted.
  bool setDateTime(const QVRSysDate& date, const QVRSysTime& time) noexcept;
  /// The same from a local broken-down time, and from that at an instant.
  bool setCTime(const std::tm& time, int millisecond) noexcept;
  bool setCTime(const std::int64_t& secondsSinceEpoch, int millisecond) noexcept;

  /// The present, date and time from one reading of the clock.
  static QVRSysDateTime Now() noexcept;

  const QVRSysDate& getDateGMT() const noexcept { return date_; }
  const QVRSysTime& getTimeGMT() const noexcept { return time_; }
  /// The halves in local time.
  QVRSysDate getDate() const noexcept;
  QVRSysTime getTime() const noexcept;

  /// The date's getCTime() with hour, minute and second of the time, in GMT.
  void getCTimeGMT(std::tm& time) const noexcept;
  /// The local date and time; tm_isdst is -1.
  void getCTimeLocal(std::tm& time) const noexcept;
  /// Seconds since the epoch of getCTimeLocal(), as mktime() counts them.
  void getCTime(std::int64_t& secondsSinceEpoch) const noexcept;

  /// The local date's toString(), one blank, the local time's.
  std::string toString(char dateConversion, const char* timeFormat) const;
  std::u16string toWString(wchar16 dateConversion, const wchar16* timeFormat) const;

  bool isValid() const noexcept { return date_.isValid() && time_.isValid(); }

  /// Each carries whole days into the date.
  QVRSysDateTime& addHours(int hours) noexcept;
  QVRSysDateTime& addMinutes(int minutes) noexcept;
  QVRSysDateTime& addSeconds(int seconds) noexcept;
  QVRSysDateTime& addMilliseconds(int milliseconds) noexcept;
  /// As the operations of QVRSysDate, on the GMT date alone.
  QVRSysDateTime& addDays(int days) noexcept;
  QVRSysDateTime& addWeeks(int weeks) noexcept;
  QVRSysDateTime& addMonths(int months) noexcept;
  QVRSysDateTime& addYears(int years) noexcept;

  /// All compare the GMT halves, the date first.
  bool operator==(const QVRSysDateTime& other) const noexcept;
  bool operator!=(const QVRSysDateTime& other) const noexcept { return !(*this == other); }
  bool operator<(const QVRSysDateTime& other) const noexcept;
  bool operator<=(const QVRSysDateTime& other) const noexcept {
    return *this == other || *this < other;
  }
  bool operator>(const QVRSysDateTime& other) const noexcept { return other < *this; }
  bool operator>=(const QVRSysDateTime& other) const noexcept { return !(*this < other); }

  /// The later or the earlier of the two; this one where they are equal.
  const QVRSysDateTime& max(const QVRSysDateTime& other) const noexcept;
  const QVRSysDateTime& min(const QVRSysDateTime& other) const noexcept;

 private:
  void shiftBy(int minutes) noexcept;
  QVRSysDateTime local() const noexcept;

  QVRSysDate date_;
  QVRSysTime time_;
};

/// Writes the local date and time as their own classes do, a blank between.
QVRSYSTEM_API std::ostream& operator<<(std::ostream& out, const QVRSysDateTime& dateTime);
