#include "Checksum.h"

#include <array>
#include <cstddef>
#include <utility>

namespace catalogue {
namespace {

// Bytes are polynomials over the field of two elements, and a checksum is the remainder of one.
// In all that follows the highest bit of a remainder is the coefficient of x^0.

/// The divisor without its x^32: ISO/IEC 3309, ITU-T V.42 and RFC 1952 have it.
constexpr std::uint32_t kPolynomial = 0xEDB88320;
constexpr std::uint32_t kOne = 0x80000000;

constexpr std::uint32_t timesX(std::uint32_t a) { return a >> 1 ^ (a & 1 ? kPolynomial : 0); }

constexpr std::uint32_t multiply(std::uint32_t a, std::uint32_t b) {
  std::uint32_t product = 0;
  for (std::uint32_t bit = kOne; bit != 0; bit >>= 1) {
    if ((a & bit) != 0) product ^= b;
    b = timesX(b);
  }
  return product;
}

// Sixteen bytes are divided at once, each by a table for the distance that it is from the last
// of them: M. E. Kounavis and F. L. Berry, "A Systematic Approach to Building High Performance,
// Software-based, CRC Generators", 2005.

constexpr std::size_t kWord = sizeof(std::uint64_t);
constexpr std::size_t kStride = 2 * kWord;

using Table = std::array<std::uint32_t, 256>;

constexpr std::array<Table, kStride> makeTables() {
  std::array<Table, kStride> tables{};
  for (std::uint32_t byte = 0; byte < 256; ++byte) {
    std::uint32_t remainder = byte;
    for (Table& table : tables) {
      for (int bit = 0; bit < 8; ++bit) remainder = timesX(remainder);
      table[byte] = remainder;
    }
  }
  return tables;
}

constexpr std::array<Table, kStride> kTables = makeTables();

/// x^(2^k), for the bits of a length in bits.
constexpr std::array<std::uint32_t, 67> makePowers() {
  std::array<std::uint32_t, 67> powers{};
  std::uint32_t power = timesX(kOne);
  for (std::uint32_t& each : powers) {
    each = power;
    power = multiply(power, power);
  }
  return powers;
}

constexpr std::array<std::uint32_t, 67> kPowers = makePowers();

/// The remainder after so many bytes of zeros.
std::uint32_t shifted(std::uint32_t remainder, std::uint64_t bytes) {
  constexpr std::size_t kBitsPerByteLog = 3;
  for (std::size_t k = kBitsPerByteLog; bytes != 0; ++k, bytes >>= 1) {
    if ((bytes & 1) != 0) remainder = multiply(kPowers[k], remainder);
  }
  return remainder;
}

template <std::size_t... kIndex>
std::uint64_t readWord(const char* bytes, std::index_sequence<kIndex...>) {
  return ((std::uint64_t{static_cast<unsigned char>(bytes[kIndex])} << 8 * kIndex) | ...);
}

/// What the bytes of a word leave, `kBehind` bytes before the end of a stride.
template <std::size_t kBehind, std::size_t... kIndex>
std::uint32_t remainderOf(std::uint64_t word, std::index_sequence<kIndex...>) {
  return (kTables[kBehind + kWord - 1 - kIndex][word >> 8 * kIndex & 0xFF] ^ ...);
}

std::uint32_t divideStride(std::uint32_t remainder, const char* bytes) {
  constexpr auto kIndices = std::make_index_sequence<kWord>();
  return remainderOf<kWord>(readWord(bytes, kIndices) ^ remainder, kIndices) ^
         remainderOf<0>(readWord(bytes + kWord, kIndices), kIndices);
}

std::uint32_t divideByte(std::uint32_t remainder, char byte) {
  return remainder >> 8 ^ kTables[0][(remainder ^ static_cast<unsigned char>(byte)) & 0xFF];
}

}  // namespace

// A checksum is the complement of a remainder, so that zeros at either end count.

void Checksum::add(std::string_view bytes) {
  bytes_ += bytes.size();
  std::uint32_t remainder = ~value_;
  for (; bytes.size() >= kStride; bytes.remove_prefix(kStride)) {
    remainder = divideStride(remainder, bytes.data());
  }
  for (const char byte : bytes) remainder = divideByte(remainder, byte);
  value_ = ~remainder;
}

void Checksum::addZeros(std::uint64_t count) {
  bytes_ += count;
  value_ = ~shifted(~value_, count);
}

void Checksum::append(const Checksum& next) {
  bytes_ += next.bytes_;
  // The complements at the seam cancel each other.
  value_ = shifted(value_, next.bytes_) ^ next.value_;
}

std::string Checksum::toString() const {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string digits;
  for (int shift = 28; shift >= 0; shift -= 4) digits += kDigits[value_ >> shift & 0xF];
  return digits;
}

}  // namespace catalogue
