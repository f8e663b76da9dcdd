// The clock and the zone, as the date and time classes ask for them.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>

#include "QVRTypes.h"

namespace qvr {

/// One reading of the clock.
struct LocalNow {
  std::int64_t second = 0;  // since the epoch; 0 where the clock fails
  int millisecond = 0;
  std::tm local{};      // daylight saving included; zeros where it cannot be told
  int minutesWest = 0;  // of Greenwich, by the zone's standard time at present
};

/// Follows TZ at once, and the system's zone file and the zone's own switches
/// within the second in which they happen.
LocalNow localNow() noexcept;

/// Minutes that the zone's standard time at present lies west of Greenwich; 0
/// where the zone cannot be told.
int standardOffset() noexcept;

/// @return whether local time can tell the instant; if not, every field is 0.
bool localTime(std::int64_t secondsSinceEpoch, std::tm& local) noexcept;

/// What mktime() says; -1 where it fails.
std::int64_t secondsSinceEpoch(std::tm local) noexcept;

/// What QVRStrftime() makes of them.
std::string textOf(const std::tm& time, const char* format);
std::u16string textOf(const std::tm& time, const wchar16* format);

}  // namespace qvr
