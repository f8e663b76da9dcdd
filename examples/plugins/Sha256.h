// The checksum sha256.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace catalogue {

/// The SHA-256 of a run of bytes, as FIPS 180-4 has it.
class Sha256 {
 public:
  static constexpr std::size_t kDigestSize = 32;

  void add(std::string_view bytes);

  std::array<unsigned char, kDigestSize> digest() const;

 private:
  static constexpr std::size_t kBlockSize = 64;

  void addBlock(const char* block);
  void pad();

  std::array<std::uint32_t, 8> hash_{0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                     0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
  std::uint64_t bytes_ = 0;
  std::array<char, kBlockSize> block_{};  // begins with the bytes behind the last whole block
};

}  // namespace catalogue
