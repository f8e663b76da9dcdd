// The identity of a thread; sleeping and yielding.
#pragma once

#include <cstdint>
#include <iosfwd>

#include "QVRSystemExport.h"

/// The system's number of a thread, and whether it means one.
///
/// Numbers are the kernel's: unique among the threads that live, used again
/// after their end. A plain value; nothing here throws.
class QVRSYSTEM_API QVRSysThreadId {
 public:
  /// Number 0, not valid.
  QVRSysThreadId() noexcept = default;

  /// Valid; keeps the low 32 bits.
  QVRSysThreadId(const unsigned long& nativeThreadId) noexcept
      : id_(static_cast<std::uint32_t>(nativeThreadId)), valid_(true) {}

  bool isValid() const noexcept { return valid_; }
  void setValid(bool valid) noexcept { valid_ = valid; }

  /// Marks it not valid and keeps the number.
  void clear() noexcept { valid_ = false; }

  /// Whether both are valid and have one number: two that are not valid differ.
  bool operator==(const QVRSysThreadId& other) const noexcept {
    return valid_ && other.valid_ && id_ == other.id_;
  }
  bool operator!=(const QVRSysThreadId& other) const noexcept { return !(*this == other); }

  /// By number alone, valid or not.
  bool operator<(const QVRSysThreadId& other) const noexcept { return id_ < other.id_; }

  /// The number.
  unsigned long hash() const noexcept { return id_; }

  std::uint32_t& getNativeThreadIdRep() noexcept { return id_; }
  const std::uint32_t& getNativeThreadIdRep() const noexcept { return id_; }

 private:
  std::uint32_t id_ = 0;
  bool valid_ = false;
};

/// Writes the number in decimal.
QVRSYSTEM_API std::ostream& operator<<(std::ostream& out, const QVRSysThreadId& id);

/// The calling thread's identifier, valid; right again in the child of a fork.
/// One read of thread-local storage after a thread's first call.
QVRSYSTEM_API QVRSysThreadId QVRSysGetThreadId() noexcept;

/// Puts the calling thread to sleep. Signals neither shorten nor lengthen it; a
/// time too long to count lasts for ever; 0 gives up the rest of the time slice.
/// Throws nothing; only the platform's own unwinding of a cancelled thread passes.
QVRSYSTEM_API void QVRSysThreadSleep(unsigned long milliseconds);

/// Gives up the rest of the time slice; returns at once where no other thread
/// is ready.
QVRSYSTEM_API void QVRSysThreadYield() noexcept;
