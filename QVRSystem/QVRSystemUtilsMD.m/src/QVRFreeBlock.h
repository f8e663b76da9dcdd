// Marks free memory for the tools that watch it.
#pragma once

#include <cstddef>

#if defined(__SANITIZE_ADDRESS__)
#define QVR_WATCHED_BY_SANITIZER
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QVR_WATCHED_BY_SANITIZER
#endif
#endif

#if defined(QVR_WATCHED_BY_SANITIZER)
#include <sanitizer/asan_interface.h>
#elif defined(QVR_VALGRIND)
#include <valgrind/memcheck.h>
#endif

namespace qvr::internal {

/// From here on, using the memory is a mistake.
inline void markFree([[maybe_unused]] void* memory, [[maybe_unused]] std::size_t size) noexcept {
#if defined(QVR_WATCHED_BY_SANITIZER)
  __asan_poison_memory_region(memory, size);
#elif defined(QVR_VALGRIND)
  VALGRIND_MAKE_MEM_NOACCESS(memory, size);
#endif
}

/// The memory may be used again, and holds what it held.
inline void markUsable([[maybe_unused]] void* memory, [[maybe_unused]] std::size_t size) noexcept {
#if defined(QVR_WATCHED_BY_SANITIZER)
  __asan_unpoison_memory_region(memory, size);
#elif defined(QVR_VALGRIND)
  VALGRIND_MAKE_MEM_DEFINED(memory, size);
#endif
}

/// What the memory holds means nothing to who has it next.
inline void markNew([[maybe_unused]] void* memory, [[maybe_unused]] std::size_t size) noexcept {
#if !defined(QVR_WATCHED_BY_SANITIZER) && defined(QVR_VALGRIND)
  VALGRIND_MAKE_MEM_UNDEFINED(memory, size);
#endif
}

}  // namespace qvr::internal
