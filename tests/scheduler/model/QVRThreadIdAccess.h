// Takes the place of the library's QVRThreadIdAccess.h: a thread is one of the
// scenario's.
#pragma once

#include <cstdint>

#include "scheduler/SchedulingPoint.h"

namespace qvr::internal {

inline constexpr std::uint32_t kUnknownThreadId = 0xFFFFFFFF;

inline std::uint32_t knownThreadId() noexcept { return scheduler::threadNumber(); }

}  // namespace qvr::internal
