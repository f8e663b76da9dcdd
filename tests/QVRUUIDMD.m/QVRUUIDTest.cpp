// Identifiers as values: what is refused, how they compare, what they turn into.
#include "QVRUUID.h"

#include <gtest/gtest.h>

#include <compare>
#include <cstdint>
#include <random>
#include <sstream>
#include <tuple>
#include <type_traits>

#include "QVREInvalidFormat.h"
#include "support/ExpectFailure.h"
#include "support/TestSeed.h"

struct QVRUUIDTestAccess {
  static bool isValid(const QVRUUID& uuid) { return uuid.isValid(); }
  static std::tuple<std::uint64_t, std::uint64_t> extract(const QVRUUID& uuid) {
    std::uint64_t high;
    std::uint64_t low;
    uuid.extract(high, low);
    return {high, low};
  }
};

namespace {

constexpr const char* kSource = "QVRSystem/QVRUUIDMD.m/src/QVRUUID";

constexpr QVRGuid kGuid = {
    0x01234567, 0x89ab, 0xcdef, {0x01, 0x23, 0x45, 0x67, 0x89, 0xab, 0xcd, 0xef}};

/// One that differs from kGuid in its variant byte.
QVRGuid withVariant(unsigned variant) {
  QVRGuid guid = kGuid;
  guid.Data4[0] = static_cast<std::uint8_t>(variant);
  return guid;
}

/// Of any variant, for which only an assignment can be used.
QVRUUID identifierOf(const QVRGuid& guid) {
  QVRUUID uuid = QVRUUID::Nil;
  try {
    uuid = guid;
  } catch (const QVREInvalidFormat&) {
  }
  return uuid;
}

TEST(QVRUUIDTest, NilHasNoBitSet) {
  const QVRGuid guid = QVRUUID::Nil;

  EXPECT_EQ(std::tuple(guid.Data1, guid.Data2, guid.Data3), std::tuple(0u, 0, 0));
  for (const std::uint8_t byte : guid.Data4) EXPECT_EQ(byte, 0);
  EXPECT_FALSE(QVRUUID::Nil);
  EXPECT_TRUE(QVRUUID::Nil.isNil());
  EXPECT_EQ(QVRUUID::Nil.toString(), "00000000-0000-0000-0000-000000000000");
}

TEST(QVRUUIDTest, EachBitMakesItAnother) {
  for (std::size_t bit = 0; bit < 8 * sizeof(QVRGuid); ++bit) {
    std::uint8_t bytes[sizeof(QVRGuid)] = {};
    bytes[bit / 8] = static_cast<std::uint8_t>(1 << bit % 8);
    QVRGuid guid;
    std::memcpy(&guid, bytes, sizeof guid);
    const QVRUUID uuid = guid;

    EXPECT_TRUE(uuid) << bit;
    EXPECT_FALSE(uuid.isNil()) << bit;
    EXPECT_NE(uuid, QVRUUID::Nil) << bit;
  }
}

TEST(QVRUUIDTest, FieldsArePassedThrough) {
  const QVRUUID uuid = kGuid;
  const QVRGuid guid = uuid;

  EXPECT_EQ(std::memcmp(&guid, &kGuid, sizeof guid), 0);
  EXPECT_EQ(uuid.toString(), "01234567-89ab-cdef-0123-456789abcdef");
}

TEST(QVRUUIDTest, StreamGetsTheText) {
  std::ostringstream out;

  out << QVRUUID(kGuid) << '|' << QVRUUID::Nil;

  EXPECT_EQ(out.str(), QVRUUID(kGuid).toString() + '|' + QVRUUID::Nil.toString());
}

TEST(QVRUUIDTest, ReservedVariantsAreRefused) {
  for (unsigned variant = 0; variant < 256; ++variant) {
    const QVRGuid guid = withVariant(variant);
    const bool isReserved = variant >= 0xE0;
    if (isReserved) {
      expectFailure<QVREInvalidFormat>([&] { QVRUUID uuid(guid); }, "Invalid UUID version",
                                       kSource);
    } else {
      EXPECT_EQ(QVRUUID(guid).toString().substr(0, 18), "01234567-89ab-cdef");
    }
    EXPECT_EQ(QVRUUIDTestAccess::isValid(identifierOf(guid)), !isReserved) << variant;
  }
}

TEST(QVRUUIDTest, AssignmentKeepsTheReservedVariantThatItRefuses) {
  QVRUUID uuid;

  expectFailure<QVREInvalidFormat>([&] { uuid = withVariant(0xE0); }, "Invalid UUID version",
                                   kSource);

  EXPECT_EQ(uuid.toString(), "01234567-89ab-cdef-e023-456789abcdef");
}

TEST(QVRUUIDTest, CopiesOfReservedVariantsAreTaken) {
  const QVRUUID reserved = identifierOf(withVariant(0xFF));

  const QVRUUID copy = reserved;
  QVRUUID assigned;
  assigned = reserved;

  EXPECT_EQ(copy.toString(), "01234567-89ab-cdef-ff23-456789abcdef");
  EXPECT_EQ(assigned.toString(), copy.toString());
}

TEST(QVRUUIDTest, KeyHasTheLastByteAsItsMostSignificant) {
  EXPECT_EQ(QVRUUIDTestAccess::extract(kGuid),
            std::tuple(0x0123456789abcdefu, 0xefcdab8967452301u));
}

/// All that the operators say, held to what they ought to say.
void expectOrder(const QVRUUID& a, const QVRUUID& b, std::strong_ordering order) {
  const std::string texts = a.toString() + ' ' + b.toString();
  EXPECT_EQ(a.compareTo(b), order < 0 ? -1 : order > 0 ? 1 : 0) << texts;
  EXPECT_EQ(a == b, order == 0) << texts;
  EXPECT_EQ(a != b, order != 0) << texts;
  EXPECT_EQ(a < b, order < 0) << texts;
  EXPECT_EQ(a <= b, order <= 0) << texts;
  EXPECT_EQ(a > b, order > 0) << texts;
  EXPECT_EQ(a >= b, order >= 0) << texts;
}

TEST(QVRUUIDTest, OrderOfPairs) {
  const struct {
    const char* less;
    const char* greater;
  } cases[] = {
      {"", "00000000-0000-0000-0000-000000000001"},
      {"00000001-ffff-ffff-dfff-ffffffffffff", "00000002-0000-0000-0000-000000000000"},
      {"7fffffff-0000-0000-0000-000000000000", "80000000-0000-0000-0000-000000000000"},
      {"00000000-0001-ffff-dfff-ffffffffffff", "00000000-0002-0000-0000-000000000000"},
      {"00000000-0000-0001-dfff-ffffffffffff", "00000000-0000-0002-0000-000000000000"},
      // The last byte decides, whatever the first of the eight says.
      {"00000000-0000-0000-df00-000000000001", "00000000-0000-0000-0000-000000000002"},
      {"00000000-0000-0000-0000-00000000007f", "00000000-0000-0000-0000-000000000080"},
      {"00000000-0000-0000-df00-000000000100", "00000000-0000-0000-0000-000000000200"},
      {"00000000-0000-0000-0100-000000000000", "00000000-0000-0000-0200-000000000000"},
      {"00000000-0000-0000-df00-000000000000", "00000000-0000-0000-0001-000000000000"},
  };
  for (const auto& c : cases) {
    expectOrder(c.less, c.greater, std::strong_ordering::less);
    expectOrder(c.greater, c.less, std::strong_ordering::greater);
    expectOrder(c.less, c.less, std::strong_ordering::equal);
  }
}

TEST(QVRUUIDTest, OrderIsThatOfTheKeys) {
  std::mt19937 random(testSeed());
  // Few values of each byte, so that many pairs differ late or not at all.
  const auto value = [&] { return static_cast<std::uint8_t>(random() % 3 * 0x7F); };
  const auto identifier = [&] {
    QVRGuid guid = {value(), value(), value(), {}};
    for (std::uint8_t& byte : guid.Data4) byte = random() % 4 == 0 ? value() : std::uint8_t{0};
    return identifierOf(guid);
  };
  for (int i = 0; i < 20000; ++i) {
    const QVRUUID a = identifier();
    const QVRUUID b = identifier();
    expectOrder(a, b, QVRUUIDTestAccess::extract(a) <=> QVRUUIDTestAccess::extract(b));
  }
}

TEST(QVRUUIDTest, ComparesWithWhatMakesOne) {
  const QVRUUID uuid = kGuid;

  EXPECT_TRUE(uuid == kGuid);
  EXPECT_TRUE(uuid == "01234567-89AB-CDEF-0123-456789ABCDEF");
  EXPECT_TRUE(QVRUUID::Nil < kGuid);
}

}  // namespace
