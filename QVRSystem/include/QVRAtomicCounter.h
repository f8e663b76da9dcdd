// A counter that threads share.
#pragma once

#include <cstdint>

#include "QVRAtomicAccess.h"
#include "QVRSystemExport.h"

/// A signed 32-bit counter whose steps are atomic and fully ordered. It wraps at
/// its limits: one more than 2147483647 is -2147483648. One word wide; never
/// locks, allocates or throws.
///
/// @par Thread safety
/// Any thread may call any operation. Copying and assigning read one counter and
/// write the other, each atomically, not both at once.
class QVRSYSTEM_API QVRAtomicCounter {
 public:
  QVRAtomicCounter() noexcept : QVRAtomicCounter(0L) {}
  /// Keeps the low 32 bits of the value, as set() does.
  QVRAtomicCounter(long value) noexcept : value_(static_cast<std::uint32_t>(value)) {}
  QVRAtomicCounter(const QVRAtomicCounter& other) noexcept : QVRAtomicCounter(other.get()) {}

  void operator=(const QVRAtomicCounter& other) noexcept { set(other.get()); }
  void operator=(long value) noexcept { set(value); }

  void set(long value) noexcept { value_.store(static_cast<std::uint32_t>(value)); }
  long get() const noexcept { return toLong(value_.load()); }
  operator long() const noexcept { return get(); }

  /// @return the value after the step.
  long increment() noexcept { return toLong(value_.fetch_add(1) + 1); }
  /// @return the value after the step.
  long decrement() noexcept { return toLong(value_.fetch_sub(1) - 1); }
  long operator++() noexcept { return increment(); }
  long operator--() noexcept { return decrement(); }

 private:
  friend class QVRCountedObject;

  /// Adds one unless the count is below 1. @return whether it did.
  bool incrementPositive() noexcept {
    std::uint32_t seen = value_.load();
    while (toLong(seen) > 0) {
      if (value_.compare_exchange_weak(seen, seen + 1)) return true;
    }
    return false;
  }

  static long toLong(std::uint32_t bits) noexcept { return static_cast<std::int32_t>(bits); }

  qvr::internal::Atomic<std::uint32_t> value_;  // the two's complement of the count
};
