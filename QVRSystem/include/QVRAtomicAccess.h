// The atomics of the operations that headers define inline.
//
// A header of their own, so that sources can be compiled against a scheduler that
// takes the place of these names and explores interleavings.
#pragma once

#include <atomic>

namespace qvr::internal {

template <class T>
using Atomic = std::atomic<T>;

/// Atomic access to a plain field: for classes whose public header shows it, or
/// whose storage must be usable before construction.
template <class T>
using AtomicRef = std::atomic_ref<T>;

}  // namespace qvr::internal
