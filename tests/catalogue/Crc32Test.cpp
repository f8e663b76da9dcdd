// The checksum crc32, beside zlib's.

#include <gtest/gtest.h>
#include <zlib.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "ChecksumHelpers.h"

namespace {

using catalogue::Checksum;

const CatalogueChecksum& crc32Plugin() {
  static const CatalogueChecksum& plugin = builtChecksum("crc32");
  return plugin;
}

/// That of no bytes.
Checksum begun() { return Checksum(crc32Plugin()); }

std::string checksumOf(std::string_view bytes) { return checksumOf(crc32Plugin(), bytes); }

std::string zlibChecksumOf(std::string_view bytes) {
  const uLong value = crc32_z(0, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size());
  char digits[9];
  std::snprintf(digits, sizeof digits, "%08lx", value);
  return digits;
}

TEST(Crc32Test, KnownTextsHaveKnownChecksums) {
  EXPECT_EQ(checksumOf(""), "00000000");
  EXPECT_EQ(checksumOf("a"), "e8b7be43");
  EXPECT_EQ(checksumOf("123456789"), "cbf43926");
}

TEST(Crc32Test, EveryLengthAndAlignmentIsAsZlibSaysIt) {
  const std::string bytes = randomBytes(200);
  for (std::size_t begin = 0; begin < 17; ++begin) {
    for (std::size_t count = 0; begin + count <= bytes.size(); ++count) {
      const auto part = std::string_view(bytes).substr(begin, count);
      ASSERT_EQ(checksumOf(part), zlibChecksumOf(part)) << begin << ' ' << count;
    }
  }
}

TEST(Crc32Test, BytesMayComeInPieces) {
  const std::string bytes = randomBytes(500);
  for (const std::size_t piece : {1u, 7u, 16u, 33u, 499u}) {
    Checksum checksum = begun();
    for (std::size_t at = 0; at < bytes.size(); at += piece) {
      checksum.add(std::string_view(bytes).substr(at, piece));
    }
    EXPECT_EQ(checksum.toString(), zlibChecksumOf(bytes)) << piece;
  }
}

TEST(Crc32Test, PartsMakeTheWhole) {
  const std::string bytes = randomBytes(300);
  for (std::size_t first = 0; first <= bytes.size(); ++first) {
    Checksum whole = begun(), second = begun();
    whole.add(std::string_view(bytes).substr(0, first));
    second.add(std::string_view(bytes).substr(first));
    whole.append(second);
    ASSERT_EQ(whole.toString(), zlibChecksumOf(bytes)) << first;

    whole.append(begun());
    whole.add("and on");
    ASSERT_EQ(whole.toString(), zlibChecksumOf(bytes + "and on")) << first;
  }
}

TEST(Crc32Test, GroupingOfPartsIsOfNoConsequence) {
  const std::string bytes = randomBytes(90);
  Checksum first = begun(), second = begun(), third = begun();
  first.add(std::string_view(bytes).substr(0, 20));
  second.add(std::string_view(bytes).substr(20, 41));
  third.add(std::string_view(bytes).substr(61));

  second.append(third);
  first.append(second);

  EXPECT_EQ(first.toString(), zlibChecksumOf(bytes));
}

TEST(Crc32Test, ZerosCountLikeBytesThatAreZero) {
  for (const std::size_t count : {0u, 1u, 15u, 16u, 17u, 1000u, 65536u}) {
    const std::string zeros(count, '\0');
    Checksum checksum = begun();
    checksum.add("before");
    checksum.addZeros(count);
    checksum.add("behind");
    EXPECT_EQ(checksum.toString(), zlibChecksumOf("before" + zeros + "behind")) << count;
  }
}

TEST(Crc32Test, LengthsBeyondAnyFileAreWhole) {
  constexpr std::uint64_t kHalf = std::uint64_t{1} << 62;
  Checksum atOnce = begun(), inTwo = begun(), half = begun();
  atOnce.addZeros(2 * kHalf);
  half.addZeros(kHalf);
  inTwo.append(half);
  inTwo.append(half);

  EXPECT_EQ(atOnce.toString(), inTwo.toString());
}

}  // namespace
