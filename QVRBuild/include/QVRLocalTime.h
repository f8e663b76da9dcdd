// Instants as local broken-down time.
#pragma once

#include <cstdint>
#include <ctime>

#include "QVRBuildExport.h"

/// The local time at an instant, daylight saving included.
///
/// Follows TZ as it stands at the call, with no need of tzset(); without TZ,
/// the system's zone. A record of zeros, whose tm_mday is no day of a month,
/// says that the year does not fit.
///
/// Any thread may call it, as long as none changes the environment meanwhile.
/// Throws nothing.
QVRBUILD_API std::tm QVRLocalTime(std::int64_t secondsSinceEpoch) noexcept;
