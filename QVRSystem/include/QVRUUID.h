// Identifiers that no two objects share.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <iosfwd>
#include <string>

#include "QVRGuid.h"
#include "QVRSystemExport.h"

/// A universally unique identifier of 128 bits.
///
/// The variants are told by Data4[0]. Those below 0xE0 are accepted; what RFC 4122
/// reserves for the future, 0xE0 and more, is refused by the constructors from a
/// text and from a QVRGuid and by the assignment of one, and only there.
///
/// Failures are QVREInvalidFormat from "QVRSystem/QVRUUIDMD.m/src/QVRUUID". Besides
/// those named, only std::bad_alloc is thrown.
///
/// @par Order
/// Data1, Data2 and Data3 decide first, each as a number. Then Data4 does, its *last*
/// byte as the most significant one: collections keep the order they always had.
/// @par Thread safety
/// A plain value; any threads may generate identifiers at once.
/// @par Cost
/// Most identifiers cost no system call: a thread gets its random bytes from the
/// kernel for 32 of them at a time.
class QVRSYSTEM_API QVRUUID {
 public:
  /// All bits are zero.
  static const QVRUUID Nil;

  /// A fresh identifier, as generate() makes it.
  QVRUUID();

  /// @throws QVREInvalidFormat "Invalid UUID version".
  QVRUUID(const QVRGuid& guid);

  /// Reads a text as toString() writes it, in upper or lower case, as sscanf() does
  /// with the format "%8lx-%4x-%4x-%2x%2x-%2x%2x%2x%2x%2x%2x". So a number may be
  /// shorter than its field, begin with blanks, a sign or "0x", and anything may follow
  /// the last one, as long as there are 36 characters in all. Of a negative number the
  /// low bits count.
  /// @param text null and the empty text give Nil.
  /// @throws QVREInvalidFormat "Invalid UUID string - %1", with the text, if it has not
  ///   36 characters or not all numbers.
  /// @throws QVREInvalidFormat "Invalid UUID version - %1", with the text.
  QVRUUID(const char* text);

  QVRUUID(const QVRUUID&) = default;

  void operator=(const QVRUUID& other) { guid_ = other.guid_; }

  /// @throws QVREInvalidFormat "Invalid UUID version"; the value is taken all the same.
  void operator=(const QVRGuid& guid);

  /// Takes a fresh random identifier, of version 4, from the kernel's generator.
  ///
  /// No two are the same, whichever threads and signal handlers of this process ask,
  /// and its forked children, however they were made. Takes no lock and no memory, so
  /// that a signal handler may ask too. Where the generator fails, that is reported
  /// ("Program error", "Invalid status code") and the identifier is Nil.
  void generate();

  /// "01234567-89ab-cdef-0123-456789abcdef": lower case, 36 characters.
  std::string toString() const;

  operator QVRGuid() const { return guid_; }

  /// Whether this is not Nil.
  operator bool() const { return !isNil(); }

  bool isNil() const;

  /// -1, 0 or 1 where this identifier is less than the other, equal or greater.
  int compareTo(const QVRUUID& other) const;

 private:
  friend struct QVRUUIDTestAccess;
  friend bool operator==(const QVRUUID& a, const QVRUUID& b);

  enum NilType : int { NilValue };

  constexpr explicit QVRUUID(NilType /*nil*/) : guid_{} {}

  bool isValid() const;

  // The numbers that the order goes by.
  void extract(std::uint64_t& high, std::uint64_t& low) const;

  QVRGuid guid_;
};

inline void QVRUUID::extract(std::uint64_t& high, std::uint64_t& low) const {
  high = std::uint64_t{guid_.Data1} << 32 | std::uint64_t{guid_.Data2} << 16 | guid_.Data3;
  std::memcpy(&low, guid_.Data4, sizeof low);
  if constexpr (std::endian::native == std::endian::big) low = __builtin_bswap64(low);
}

inline int QVRUUID::compareTo(const QVRUUID& other) const {
  std::uint64_t high, low, otherHigh, otherLow;
  extract(high, low);
  other.extract(otherHigh, otherLow);
  if (high != otherHigh) return high < otherHigh ? -1 : 1;
  if (low != otherLow) return low < otherLow ? -1 : 1;
  return 0;
}

inline bool operator==(const QVRUUID& a, const QVRUUID& b) {
  return std::memcmp(&a.guid_, &b.guid_, sizeof a.guid_) == 0;
}
inline bool operator!=(const QVRUUID& a, const QVRUUID& b) { return !(a == b); }
inline bool operator<(const QVRUUID& a, const QVRUUID& b) { return a.compareTo(b) < 0; }
inline bool operator<=(const QVRUUID& a, const QVRUUID& b) { return a.compareTo(b) <= 0; }
inline bool operator>(const QVRUUID& a, const QVRUUID& b) { return a.compareTo(b) > 0; }
inline bool operator>=(const QVRUUID& a, const QVRUUID& b) { return a.compareTo(b) >= 0; }

inline bool QVRUUID::isNil() const { return *this == Nil; }

/// Writes toString().
QVRSYSTEM_API std::ostream& operator<<(std::ostream& out, const QVRUUID& uuid);
