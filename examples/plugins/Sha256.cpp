#include "Sha256.h"

#include <algorithm>
#include <bit>

#include "ChecksumTable.h"

namespace catalogue {
namespace {

// Names as in the standard.

constexpr std::size_t kRounds = 64;

constexpr std::array<std::uint32_t, kRounds> kK = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

constexpr std::uint32_t ch(std::uint32_t x, std::uint32_t y, std::uint32_t z) {
  return (x & y) ^ (~x & z);
}

constexpr std::uint32_t maj(std::uint32_t x, std::uint32_t y, std::uint32_t z) {
  return (x & y) ^ (x & z) ^ (y & z);
}

constexpr std::uint32_t upperSigma0(std::uint32_t x) {
  return std::rotr(x, 2) ^ std::rotr(x, 13) ^ std::rotr(x, 22);
}

constexpr std::uint32_t upperSigma1(std::uint32_t x) {
  return std::rotr(x, 6) ^ std::rotr(x, 11) ^ std::rotr(x, 25);
}

constexpr std::uint32_t lowerSigma0(std::uint32_t x) {
  return std::rotr(x, 7) ^ std::rotr(x, 18) ^ x >> 3;
}

constexpr std::uint32_t lowerSigma1(std::uint32_t x) {
  return std::rotr(x, 17) ^ std::rotr(x, 19) ^ x >> 10;
}

template <class Number>
Number readBigEndian(const char* bytes) {
  Number number = 0;
  for (std::size_t i = 0; i < sizeof number; ++i) {
    number = number << 8 | static_cast<unsigned char>(bytes[i]);
  }
  return number;
}

template <class Number, class Byte>
void writeBigEndian(Number number, Byte* bytes) {
  for (std::size_t i = sizeof number; i-- > 0; number >>= 8) bytes[i] = static_cast<Byte>(number);
}

std::array<std::uint32_t, kRounds> messageSchedule(const char* block) {
  std::array<std::uint32_t, kRounds> w;
  for (std::size_t t = 0; t < 16; ++t) w[t] = readBigEndian<std::uint32_t>(block + 4 * t);
  for (std::size_t t = 16; t < kRounds; ++t) {
    w[t] = lowerSigma1(w[t - 2]) + w[t - 7] + lowerSigma0(w[t - 15]) + w[t - 16];
  }
  return w;
}

}  // namespace

void Sha256::add(std::string_view bytes) {
  const std::size_t begun = bytes_ % kBlockSize;
  bytes_ += bytes.size();
  if (begun != 0) {
    const std::string_view head = bytes.substr(0, kBlockSize - begun);
    std::copy(head.begin(), head.end(), block_.begin() + begun);
    if (begun + head.size() < kBlockSize) return;
    addBlock(block_.data());
    bytes.remove_prefix(head.size());
  }
  for (; bytes.size() >= kBlockSize; bytes.remove_prefix(kBlockSize)) addBlock(bytes.data());
  std::copy(bytes.begin(), bytes.end(), block_.begin());
}

void Sha256::addBlock(const char* block) {
  const std::array<std::uint32_t, kRounds> w = messageSchedule(block);
  auto [a, b, c, d, e, f, g, h] = hash_;
  for (std::size_t t = 0; t < kRounds; ++t) {
    const std::uint32_t t1 = h + upperSigma1(e) + ch(e, f, g) + kK[t] + w[t];
    const std::uint32_t t2 = upperSigma0(a) + maj(a, b, c);
    h = g;
    g = f;
    f = e;
    e = d + t1;
    d = c;
    c = b;
    b = a;
    a = t1 + t2;
  }
  const std::array<std::uint32_t, 8> changed{a, b, c, d, e, f, g, h};
  for (std::size_t i = 0; i < hash_.size(); ++i) hash_[i] += changed[i];
}

std::array<unsigned char, Sha256::kDigestSize> Sha256::digest() const {
  Sha256 padded = *this;
  padded.pad();
  std::array<unsigned char, kDigestSize> digest;
  for (std::size_t i = 0; i < hash_.size(); ++i) {
    writeBigEndian(padded.hash_[i], digest.data() + sizeof hash_[i] * i);
  }
  return digest;
}

/// Adds a bit that is 1, and so many that are 0 that the length in bits ends a block.
void Sha256::pad() {
  const std::uint64_t bits = bytes_ * 8;
  std::array<char, kBlockSize + sizeof bits> padding{'\x80'};
  const std::size_t toLength = kBlockSize - (bytes_ + sizeof bits) % kBlockSize;
  writeBigEndian(bits, padding.data() + toLength);
  add({padding.data(), toLength + sizeof bits});
}

}  // namespace catalogue

const CatalogueChecksum* catalogueChecksum() {
  static constexpr CatalogueChecksum kTable = catalogue::checksumTable<catalogue::Sha256>("sha256");
  return &kTable;
}
