// A flag that one thread at a time can have.
#pragma once

#include <cstdint>

#include "QVRAtomicAccess.h"
#include "QVRSystemExport.h"
#include "QVRThreadAnnotations.h"

/// A lock of one word that is asked for and never waited for. It has no owner:
/// any thread may release it, and releasing a free one does nothing. Never
/// allocates or throws.
///
/// @par Thread safety
/// Any thread may call any operation.
class QVRSYSTEM_API QVR_CAPABILITY("mutex") QVRAtomicLock {
 public:
  QVRAtomicLock() noexcept = default;

  QVRAtomicLock(const QVRAtomicLock&) = delete;
  QVRAtomicLock& operator=(const QVRAtomicLock&) = delete;

  /// Takes the lock if it is free; fully ordered.
  /// @return whether the caller holds it now.
  bool acquire() noexcept QVR_TRY_ACQUIRE(true) { return word_.exchange(kHeld) == kFree; }

  // Pairs with the exchange in acquire(): what this holder wrote is visible to the next.
  void release() noexcept QVR_RELEASE() { word_.store(kFree, std::memory_order_release); }

  // Pairs with release() too: whoever sees the lock free sees what its holder wrote.
  bool isLocked() const noexcept { return word_.load(std::memory_order_acquire) == kHeld; }

 private:
  static constexpr std::uint32_t kFree = 0;
  static constexpr std::uint32_t kHeld = 1;

  qvr::internal::Atomic<std::uint32_t> word_ = kFree;
};
