// Clocks and the time zone, as the system offers them.
//
// Every function returns 0 or the system's error number and throws nothing.
#pragma once

#include <cstdint>

#include "QVRSystem/platform/QVRPlatformNamespace.h"

namespace qvr::QVR_PLATFORM {

/// The time by the wall clock: seconds since the epoch and the rest of a second.
int systemTime(std::int64_t& seconds, std::int32_t& nanoseconds) noexcept;

/// The counter that only goes forward, and how often it counts a second.
int counter(std::int64_t& count) noexcept;
int counterFrequency(std::int64_t& countsPerSecond) noexcept;

/// Milliseconds since some instant, modulo 2^32.
int tickCount(std::uint32_t& milliseconds) noexcept;

/// Minutes that the zone's standard time at that instant lies west of Greenwich,
/// cut to a whole number. Follows TZ as it stands at the call.
int standardOffset(std::int64_t secondsSinceEpoch, int& minutesWest) noexcept;

}  // namespace qvr::QVR_PLATFORM
