// The checksum crc32.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace catalogue {

/// The CRC-32 of a run of bytes as zlib, gzip and PNG have it: cbf43926 for "123456789".
///
/// Knows the length of the run, so that the checksums of parts, taken in any order and on any
/// threads, make that of the whole.
class Crc32 {
 public:
  /// Of no bytes.
  Crc32() = default;

  void add(std::string_view bytes);

  /// Costs the logarithm of their number.
  void addZeros(std::uint64_t count);

  /// Adds the bytes that the other has been given. Costs the logarithm of their number.
  void append(const Crc32& next);

  /// The highest byte comes first.
  std::array<unsigned char, 4> digest() const;

 private:
  std::uint32_t value_ = 0;
  std::uint64_t bytes_ = 0;
};

}  // namespace catalogue
