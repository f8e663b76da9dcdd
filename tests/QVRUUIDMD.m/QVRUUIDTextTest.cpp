// Reading and writing the text of an identifier, beside the C library's sscanf() and
// another library.
#include <gtest/gtest.h>
#include <uuid/uuid.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <optional>
#include <random>
#include <string>

#include "QVREInvalidFormat.h"
#include "QVRUUID.h"
#include "support/ExpectFailure.h"
#include "support/ScopedLocale.h"
#include "support/TestSeed.h"

namespace {

constexpr const char* kSource = "QVRSystem/QVRUUIDMD.m/src/QVRUUID";
constexpr const char* kPlain = "01234567-89ab-cdef-0123-456789abcdef";
constexpr std::size_t kTextSize = 36;

void expectRefused(const std::string& text, const char* message) {
  expectFailure<QVREInvalidFormat>([&] { QVRUUID uuid(text.c_str()); }, (message + text).c_str(),
                                   kSource);
}

void expectNoText(const std::string& text) { expectRefused(text, "Invalid UUID string - "); }
void expectReserved(const std::string& text) { expectRefused(text, "Invalid UUID version - "); }

TEST(QVRUUIDTextTest, NoTextIsNil) {
  EXPECT_EQ(QVRUUID(static_cast<const char*>(nullptr)), QVRUUID::Nil);
  EXPECT_EQ(QVRUUID(""), QVRUUID::Nil);
  EXPECT_EQ(QVRUUID("00000000-0000-0000-0000-000000000000"), QVRUUID::Nil);
}

TEST(QVRUUIDTextTest, AcceptedTexts) {
  const struct {
    const char* text;
    const char* canonical;
  } cases[] = {
      {kPlain, kPlain},
      {"01234567-89AB-CDEF-0123-456789ABCDEF", kPlain},
      {"01234567-89aB-CdEf-0123-456789AbcDEF", kPlain},
      {"FFFFFFFF-FFFF-FFFF-DFFF-FFFFFFFFFFFF", "ffffffff-ffff-ffff-dfff-ffffffffffff"},
      // Fewer digits, and anything behind the last number.
      {"1-2-3-0405-060708090a0b and the rest", "00000001-0002-0003-0405-060708090a0b"},
      {"1-2-3-4 5-6 7 8 9 a bcdefghijklmnopq", "00000001-0002-0003-0405-060708090abc"},
      {"01234567-89ab-cdef-0123-456789abcd f", "01234567-89ab-cdef-0123-456789abcd0f"},
      {"01234567-89ab-cdef-0123-456789abcdeg", "01234567-89ab-cdef-0123-456789abcd0e"},
      {"01234567-89ab-cdef-0123-456789abcde-", "01234567-89ab-cdef-0123-456789abcd0e"},
      // Blanks before a number are not counted.
      {" 1234567-89ab-cdef-0123-456789abcdef", kPlain},
      {"\t1234567-\n9ab-\vdef-\f123-\r56789abcdef", "01234567-09ab-0def-1203-56789abcde0f"},
      {"\t1234567-\n89a-\vdef-\f12\r3-456789abcd0", "01234567-089a-0def-1203-456789abcd00"},
      // Signs count; of a negative number the low bits stay.
      {"-1234567-89ab-cdef-0123-456789abcdef", "fedcba99-89ab-cdef-0123-456789abcdef"},
      {"+1234567--9ab-+def-+1-3-456789abcdef", "01234567-f655-0def-01fd-456789abcdef"},
      {"01234567-89ab-cdef-01-1-456789abcdef", "01234567-89ab-cdef-01ff-456789abcdef"},
      {"01234567-89ab-cdef-0123--0+0-1+1-f+f", "01234567-89ab-cdef-0123-0000ff01f10f"},
      // So does "0x", also where no digit follows.
      {"0x234567-89ab-cdef-0123-456789abcdef", "00234567-89ab-cdef-0123-456789abcdef"},
      {"0X234567-0Xab-0xef-0123-456789abcdef", "00234567-00ab-00ef-0123-456789abcdef"},
      {"-0x23456-89ab-cdef-0x0X-0x0x0x0x0x0x", "fffdcbaa-89ab-cdef-0000-000000000000"},
      {"0x-89ab-cdef-0123-456789abcdef......", "00000000-89ab-cdef-0123-456789abcdef"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(QVRUUID(c.text).toString(), c.canonical) << c.text;
  }
}

TEST(QVRUUIDTextTest, RefusedTexts) {
  const char* const cases[] = {
      " ",
      "0",
      "{01234567-89ab-cdef-0123-456789abcdef}",
      "01234567-89ab-cdef-0123-456789abcde",
      "01234567-89ab-cdef-0123-456789abcdef0",
      "01234567-89ab-cdef-0123-456789abcdef ",
      "0123456789abcdef0123456789abcdef",
      "0123456789abcdef0123456789abcdef0123",
      "01234567-89ab-cdef-0123456789abcdef01",
      "01234567 89ab cdef 0123 456789abcdef",
      "01234567-89ab-cdef-0123-456789abcdg-",
      "1234567 -89ab-cdef-0123-456789abcdef",
      "-+234567-89ab-cdef-0123-456789abcdef",
      "01234567-89ab-cdef-0123-456789abcd +",
      "00x34567-89ab-cdef-0123-456789abcdef",
      "x1234567-89ab-cdef-0123-456789abcdef",
      "g1234567-89ab-cdef-0123-456789abcdef",
      "                                    ",
      "------------------------------------",
  };
  for (const char* text : cases) expectNoText(text);
}

TEST(QVRUUIDTextTest, OnlyTheRightLengthIsScanned) {
  const std::string text = std::string(kPlain) + std::string(100000, '0');
  for (const std::size_t size : {1u, 2u, 8u, 16u, 32u, 34u, 35u, 37u, 38u, 72u, 100036u}) {
    expectNoText(text.substr(0, size));
  }
}

TEST(QVRUUIDTextTest, ReservedVariantsAreRefused) {
  for (unsigned variant = 0; variant < 256; ++variant) {
    char text[kTextSize + 1];
    std::snprintf(text, sizeof text, "01234567-89ab-cdef-%02x23-456789abcdef", variant);
    if (variant >= 0xE0) {
      expectReserved(text);
    } else {
      EXPECT_EQ(QVRUUID(text).toString(), text);
    }
  }
  expectReserved("01234567-89ab-cdef--123-456789abcdef");
  expectReserved("1-2-3-  ff-0-0-0-0-0-0 and the rest.");
}

/// What sscanf() makes of a text; nothing where it does not read all fields.
std::optional<QVRGuid> scanned(const char* text) {
  unsigned long first;
  unsigned second;
  unsigned third;
  unsigned rest[8];
  const int count =
      std::sscanf(text, "%8lx-%4x-%4x-%2x%2x-%2x%2x%2x%2x%2x%2x", &first, &second, &third, rest,
                  rest + 1, rest + 2, rest + 3, rest + 4, rest + 5, rest + 6, rest + 7);
  if (count != 11 || std::strlen(text) != kTextSize) return std::nullopt;
  QVRGuid guid = {static_cast<std::uint32_t>(first),
                  static_cast<std::uint16_t>(second),
                  static_cast<std::uint16_t>(third),
                  {}};
  std::copy(std::begin(rest), std::end(rest), guid.Data4);
  return guid;
}

enum Outcome { kAccepted, kNoText, kReserved };

/// Expects a text to be read as sscanf() reads it.
Outcome expectAsScanned(const std::string& text) {
  const std::optional<QVRGuid> expected = scanned(text.c_str());
  try {
    const QVRUUID uuid = text.c_str();
    EXPECT_TRUE(expected && expected->Data4[0] < 0xE0 && uuid == *expected) << '"' << text << '"';
    return kAccepted;
  } catch (const QVREInvalidFormat& failure) {
    const bool isReserved = expected && expected->Data4[0] >= 0xE0;
    EXPECT_TRUE(isReserved || !expected) << '"' << text << '"';
    EXPECT_EQ(failure.getFormatStr(),
              isReserved ? u"Invalid UUID version - %1" : u"Invalid UUID string - %1");
    return isReserved ? kReserved : kNoText;
  }
}

TEST(QVRUUIDTextTest, EachByteAtEachPlaceIsReadAsBySscanf) {
  for (const char* locale : {"C", "de_DE.ISO-8859-1", "de_DE.UTF-8", "ja_JP.EUC-JP"}) {
    const ScopedLocale scope(locale);
    for (std::size_t place = 0; place < kTextSize; ++place) {
      for (int byte = 1; byte < 256; ++byte) {
        std::string text = kPlain;
        text[place] = static_cast<char>(byte);
        expectAsScanned(text);
      }
    }
  }
}

/// Texts that sscanf() often accepts, more or less like those of identifiers.
class TextMaker {
 public:
  explicit TextMaker(unsigned seed) : random_(seed) {}

  std::string make() {
    std::string text;
    for (const Field& field : kFields) {
      appendNumber(text, field.width);
      if (field.isBeforeHyphen != oneIn(200)) text += '-';
    }
    if (!oneIn(50)) text.resize(kTextSize, pick("0123456789abcdefABCDEF -+x"));
    return text;
  }

 private:
  struct Field {
    std::size_t width;
    bool isBeforeHyphen;
  };
  static constexpr Field kFields[] = {{8, true},  {4, true},  {4, true},  {2, false},
                                      {2, true},  {2, false}, {2, false}, {2, false},
                                      {2, false}, {2, false}, {2, false}};

  std::size_t below(std::size_t end) { return random_() % end; }
  bool oneIn(std::size_t count) { return below(count) == 0; }
  char pick(const char* characters) { return characters[below(std::strlen(characters))]; }

  void appendNumber(std::string& text, std::size_t width) {
    while (oneIn(30)) text += pick(" \t\n\v\f\r");
    std::size_t left = oneIn(20) ? below(width + 2) : width;
    if (oneIn(20)) (text += pick("+-")), left -= left > 0;
    if (oneIn(20)) (text += '0') += pick("xX"), left -= std::min<std::size_t>(left, 2);
    for (; left > 0; --left) text += pick("0123456789abcdefABCDEF");
    if (oneIn(100)) text += pick(" g-\x80\xa0\xff");
  }

  std::mt19937 random_;
};

TEST(QVRUUIDTextTest, MadeUpTextsAreReadAsBySscanf) {
  constexpr int kTexts = 200000;
  TextMaker maker(testSeed());
  int outcomes[3] = {};

  for (int i = 0; i < kTexts; ++i) ++outcomes[expectAsScanned(maker.make())];

  for (const Outcome outcome : {kAccepted, kNoText, kReserved}) {
    EXPECT_GT(outcomes[outcome], kTexts / 200) << outcome;
  }
}

TEST(QVRUUIDTextTest, AnotherLibraryReadsAndWritesTheSame) {
  std::mt19937_64 random(testSeed());
  for (int i = 0; i < 1'000'000; ++i) {
    std::uint64_t bits[2] = {random(), random()};
    uuid_t other;
    std::memcpy(other, bits, sizeof other);
    if (other[8] >= 0xE0) other[8] ^= 0x80;
    char lower[kTextSize + 1];
    char upper[kTextSize + 1];
    uuid_unparse_lower(other, lower);
    uuid_unparse_upper(other, upper);

    const QVRUUID uuid = upper;
    const std::string text = uuid.toString();

    uuid_t readBack;
    ASSERT_EQ(text, lower);
    ASSERT_EQ(uuid, QVRUUID(lower));
    ASSERT_EQ(uuid_parse(text.c_str(), readBack), 0);
    ASSERT_EQ(uuid_compare(readBack, other), 0);
  }
}

}  // namespace
