// The calling thread's identifier, for the operations that headers define inline.
#pragma once

#include <cstdint>

#include "QVRSystemExport.h"

namespace qvr::internal {

/// That of a thread that has not asked for its identifier yet; no thread has it.
inline constexpr std::uint32_t kUnknownThreadId = 0xFFFFFFFF;

// Initial-exec: one read more than a field of the thread's own takes, and safe to
// read in a signal handler.
extern QVRSYSTEM_API constinit thread_local std::uint32_t cachedThreadId
    __attribute__((tls_model("initial-exec")));

/// The kernel's identifier of the calling thread, or kUnknownThreadId.
inline std::uint32_t knownThreadId() noexcept { return cachedThreadId; }

}  // namespace qvr::internal
