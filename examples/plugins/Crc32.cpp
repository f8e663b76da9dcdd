#include "Crc32.h"

#include <cstddef>
#include <utility>

#include "ChecksumTable.h"

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

// Eight bytes are divided at once, each by a table for its distance from the last of them:
// M. E. Kounavis and F. L. Berry, "A Systematic Approach to Building High Performance,
// Software-based, CRC Generators", 2005. Every step waits for the one before; so that the
// processor has more to do meanwhile, runs are divided side by side and put together.

constexpr std::size_t kWord = sizeof(std::uint64_t);
constexpr auto kWordIndices = std::make_index_sequence<kWord>();
constexpr std::size_t kRuns = 4;
constexpr std::size_t kRunLength = 1024;
constexpr std::size_t kStride = kRuns * kRunLength;

using Table = std::array<std::uint32_t, 256>;

constexpr std::array<Table, kWord> makeTables() {
  std::array<Table, kWord> tables{};
  for (std::uint32_t byte = 0; byte < 256; ++byte) {
    std::uint32_t remainder = byte;
    for (Table& table : tables) {
      for (int bit = 0; bit < 8; ++bit) remainder = timesX(remainder);
      table[byte] = remainder;
    }
  }
  return tables;
}

constexpr std::array<Table, kWord> kTables = makeTables();

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

template <std::size_t... kIndex>
std::uint32_t remainderOf(std::uint64_t word, std::index_sequence<kIndex...>) {
  return (kTables[kWord - 1 - kIndex][word >> 8 * kIndex & 0xFF] ^ ...);
}

std::uint32_t divideWord(std::uint32_t remainder, const char* bytes) {
  return remainderOf(readWord(bytes, kWordIndices) ^ remainder, kWordIndices);
}

std::uint32_t divideStride(std::uint32_t remainder, const char* bytes) {
  std::array<std::uint32_t, kRuns> remainders{remainder};
  for (const char* const end = bytes + kRunLength; bytes != end; bytes += kWord) {
    for (std::size_t run = 0; run < kRuns; ++run) {
      remainders[run] = divideWord(remainders[run], bytes + run * kRunLength);
    }
  }
  remainder = 0;
  for (const std::uint32_t each : remainders) remainder = shifted(remainder, kRunLength) ^ each;
  return remainder;
}

std::uint32_t divideByte(std::uint32_t remainder, char byte) {
  return remainder >> 8 ^ kTables[0][(remainder ^ static_cast<unsigned char>(byte)) & 0xFF];
}

}  // namespace

// A checksum is the complement of a remainder, so that zeros at either end count.

void Crc32::add(std::string_view bytes) {
  bytes_ += bytes.size();
  std::uint32_t remainder = ~value_;
  for (; bytes.size() >= kStride; bytes.remove_prefix(kStride)) {
    remainder = divideStride(remainder, bytes.data());
  }
  for (; bytes.size() >= kWord; bytes.remove_prefix(kWord)) {
    remainder = divideWord(remainder, bytes.data());
  }
  for (const char byte : bytes) remainder = divideByte(remainder, byte);
  value_ = ~remainder;
}

void Crc32::addZeros(std::uint64_t count) {
  bytes_ += count;
  value_ = ~shifted(~value_, count);
}

void Crc32::append(const Crc32& next) {
  bytes_ += next.bytes_;
  // The complements at the seam cancel each other.
  value_ = shifted(value_, next.bytes_) ^ next.value_;
}

std::array<unsigned char, 4> Crc32::digest() const {
  const auto byte = [this](int shift) { return static_cast<unsigned char>(value_ >> shift); };
  return {byte(24), byte(16), byte(8), byte(0)};
}

}  // namespace catalogue

const CatalogueChecksum* catalogueChecksum() {
  static constexpr CatalogueChecksum kTable = catalogue::checksumTable<catalogue::Crc32>("crc32");
  return &kTable;
}
