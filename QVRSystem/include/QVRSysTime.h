// Times of day.
#pragma once

#include <cstdint>
#include <ctime>
#include <iosfwd>
#include <string>

#include "QVRSystemExport.h"
#include "QVRTypes.h"

/// A time of day: milliseconds since midnight, valid from 0 to 86399999.
///
/// What is no time makes the object invalid, -1; some setters let other negative
/// numbers through, which are not valid either. Nothing here throws but
/// std::bad_alloc for want of memory for a text. Fields are read by division that
/// truncates: an invalid time reads as 0:00:00 with millisecond -1. Sums are made
/// of signed 32-bit numbers and wrap around there before they wrap around the day.
///
/// @par Thread safety
/// A plain value: different objects may be used by different threads at once.
/// What asks for local time follows TZ as QVRLocalTime() does.
class QVRSYSTEM_API QVRSysTime {
 public:
  /// The fields of one time.
  struct TimeInfo {
    int hour;
    int minute;
    int second;
    int millisecond;
  };

  /// Invalid.
  QVRSysTime() noexcept = default;
  /// Wrapped into one day: -1 is 23:59:59.999.
  QVRSysTime(int milliseconds) noexcept;
  /// As the setTime() of the same arguments.
  QVRSysTime(int hour, int minute, int second, int millisecond) noexcept;
  /// As setCTime().
  QVRSysTime(const std::tm& time, int millisecond) noexcept;
  /// As setCTime(), but midnight for an instant before 1.
  QVRSysTime(const std::int64_t& secondsSinceEpoch, int millisecond) noexcept;

  QVRSysTime(const QVRSysTime&) noexcept = default;
  QVRSysTime& operator=(const QVRSysTime&) noexcept = default;
  virtual ~QVRSysTime();

  /// Makes the time invalid.
  void clear() noexcept { milliseconds_ = kInvalid; }

  /// Takes any number below 86400000, negative ones too. @return whether it did;
  /// if not, the time is invalid.
  bool setTime(int milliseconds) noexcept;
  /// Checks upper limits only: negative fields enter the sum as they are.
  /// @return whether no field is past its limit; if one is, the time is invalid.
  bool setTime(int hour, int minute, int second, int millisecond) noexcept;
  /// From tm_hour, tm_min and tm_sec, as setTime(); a leap second is past the limit.
  bool setCTime(const std::tm& time, int millisecond) noexcept;
  /// The local time of day at an instant. An instant before 1 gives false and
  /// leaves the time as it was; one that local time cannot tell makes it invalid.
  bool setCTime(const std::int64_t& secondsSinceEpoch, int millisecond) noexcept;

  /// The present local time of day; invalid where the clock or the zone fails.
  static QVRSysTime Now() noexcept;
  /// Midnight.
  static QVRSysTime MinTime() noexcept;
  /// 23:59:59.999.
  static QVRSysTime MaxTime() noexcept;

  void getTime(int& milliseconds) const noexcept { milliseconds = milliseconds_; }
  void getTime(int& hour, int& minute, int& second, int& millisecond) const noexcept;
  void getTime(TimeInfo& info) const noexcept;
  int getMilliseconds() const noexcept { return milliseconds_; }
  int getHourField() const noexcept;
  int getMinuteField() const noexcept;
  int getSecondField() const noexcept;
  int getMillisecondField() const noexcept;
  bool isAM() const noexcept;
  bool isPM() const noexcept;
  bool isValid() const noexcept;

  /// All fields 0 but tm_hour, tm_min, tm_sec, and tm_isdst, which is -1.
  void getCTime(std::tm& time) const noexcept;
  /// Seconds since the epoch of this time today, with today's present
  /// daylight-saving flag; -1 where mktime() fails.
  void getCTime(std::int64_t& secondsSinceEpoch) const noexcept;

  /// The time as strftime() writes getCTime() in the locale.
  std::string toString(const char* format) const;
  std::u16string toWString(const wchar16* format) const;

  /// Upper limits only: no negative field is refused.
  static bool IsHourField(int hour) noexcept;
  static bool IsMinuteField(int minute) noexcept;
  static bool IsSecondField(int second) noexcept;
  static bool IsMillisecondField(int millisecond) noexcept;

  /// Each wraps around midnight and drops the days carried.
  QVRSysTime& addHours(int hours) noexcept;
  QVRSysTime& addMinutes(int minutes) noexcept;
  QVRSysTime& addSeconds(int seconds) noexcept;
  QVRSysTime& addMilliseconds(int milliseconds) noexcept;

  /// The same, @return the days carried, negative when midnight was passed
  /// backwards.
  int addHours_(int hours) noexcept;
  int addMinutes_(int minutes) noexcept;
  int addSeconds_(int seconds) noexcept;
  int addMilliseconds_(int milliseconds) noexcept;

  /// By the numbers held, valid or not.
  bool operator==(const QVRSysTime& other) const noexcept {
    return milliseconds_ == other.milliseconds_;
  }
  bool operator!=(const QVRSysTime& other) const noexcept {
    return milliseconds_ != other.milliseconds_;
  }
  bool operator<(const QVRSysTime& other) const noexcept {
    return milliseconds_ < other.milliseconds_;
  }
  bool operator<=(const QVRSysTime& other) const noexcept {
    return milliseconds_ <= other.milliseconds_;
  }
  bool operator>(const QVRSysTime& other) const noexcept {
    return milliseconds_ > other.milliseconds_;
  }
  bool operator>=(const QVRSysTime& other) const noexcept {
    return milliseconds_ >= other.milliseconds_;
  }

 private:
  static constexpr int kInvalid = -1;

  int add(int count, int unit) noexcept;
  int wrap(std::int64_t milliseconds) noexcept;

  int milliseconds_ = kInvalid;
};

/// Writes toString("%H:%M:%S %p").
QVRSYSTEM_API std::ostream& operator<<(std::ostream& out, const QVRSysTime& time);
