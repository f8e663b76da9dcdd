// The catalogue's checksum, beside zlib's definition and the library itself.
#include "Checksum.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <string_view>

namespace {

using catalogue::Checksum;

std::string checksumOf(std::string_view bytes) {
  Checksum checksum;
  checksum.add(bytes);
  return checksum.toString();
}

std::string zlibChecksumOf(std::string_view bytes) {
  const uLong value = crc32_z(0, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size());
  char digits[9];
  std::snprintf(digits, sizeof digits, "%08lx", value);
  return digits;
}

std::string randomBytes(std::size_t count) {
  std::mt19937 random(20261121);
  std::string bytes(count, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  return bytes;
}

TEST(ChecksumTest, KnownTextsHaveKnownChecksums) {
  EXPECT_EQ(checksumOf(""), "00000000");
  EXPECT_EQ(checksumOf("a"), "e8b7be43");
  EXPECT_EQ(checksumOf("123456789"), "cbf43926");
}

TEST(ChecksumTest, EveryLengthAndAlignmentIsAsZlibSaysIt) {
  const std::string bytes = randomBytes(200);
  for (std::size_t begin = 0; begin < 17; ++begin) {
    for (std::size_t count = 0; begin + count <= bytes.size(); ++count) {
      const auto part = std::string_view(bytes).substr(begin, count);
      ASSERT_EQ(checksumOf(part), zlibChecksumOf(part)) << begin << ' ' << count;
    }
  }
}

TEST(ChecksumTest, BytesMayComeInPieces) {
  const std::string bytes = randomBytes(500);
  for (const std::size_t piece : {1, 7, 16, 33, 499}) {
    Checksum checksum;
    for (std::size_t at = 0; at < bytes.size(); at += piece) {
      checksum.add(std::string_view(bytes).substr(at, piece));
    }
    EXPECT_EQ(checksum.toString(), zlibChecksumOf(bytes)) << piece;
  }
}

TEST(ChecksumTest, PartsMakeTheWhole) {
  const std::string bytes = randomBytes(300);
  for (std::size_t first = 0; first <= bytes.size(); ++first) {
    Checksum whole, second;
    whole.add(std::string_view(bytes).substr(0, first));
    second.add(std::string_view(bytes).substr(first));
    whole.append(second);
    ASSERT_EQ(whole.toString(), zlibChecksumOf(bytes)) << first;

    whole.append(Checksum());
    whole.add("and on");
    ASSERT_EQ(whole.toString(), zlibChecksumOf(bytes + "and on")) << first;
  }
}

TEST(ChecksumTest, GroupingOfPartsIsOfNoConsequence) {
  const std::string bytes = randomBytes(90);
  Checksum first, second, third;
  first.add(std::string_view(bytes).substr(0, 20));
  second.add(std::string_view(bytes).substr(20, 41));
  third.add(std::string_view(bytes).substr(61));

  second.append(third);
  first.append(second);

  EXPECT_EQ(first.toString(), zlibChecksumOf(bytes));
}

TEST(ChecksumTest, ZerosCountLikeBytesThatAreZero) {
  for (const std::size_t count : {0, 1, 15, 16, 17, 1000, 65536}) {
    const std::string zeros(count, '\0');
    Checksum checksum;
    checksum.add("before");
    checksum.addZeros(count);
    checksum.add("behind");
    EXPECT_EQ(checksum.toString(), zlibChecksumOf("before" + zeros + "behind")) << count;
  }
}

TEST(ChecksumTest, LengthsBeyondAnyFileAreWhole) {
  constexpr std::uint64_t kHalf = std::uint64_t{1} << 62;
  Checksum atOnce, inTwo, half;
  atOnce.addZeros(2 * kHalf);
  half.addZeros(kHalf);
  inTwo.append(half);
  inTwo.append(half);

  EXPECT_EQ(atOnce.toString(), inTwo.toString());
}

}  // namespace
