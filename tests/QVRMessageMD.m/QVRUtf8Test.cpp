// Both compilations of the conversions, against definitions without haste.
#include "QVRSystem/QVRMessageMD.m/src/QVRUtf8.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <random>
#include <string>
#include <vector>

// What QVRUtf8Portable.cpp compiles.
namespace qvr::utf8_portable {
struct Widened {
  const char* text;
  char16_t* to;
};
Widened widenAscii(const char* text, const char* end, char16_t* to) noexcept;
Widened widen(const char* text, const char* end, char16_t* to) noexcept;
std::size_t characterLength(const char* text) noexcept;
struct Measure {
  const char16_t* end;
  std::size_t bytes;
};
Measure measure(const char16_t* text, const char16_t* end) noexcept;
char* narrowAscii(const char16_t* text, const char16_t* end, char* to) noexcept;
char* narrow(const char16_t* text, const char16_t* end, char* to) noexcept;
}  // namespace qvr::utf8_portable

namespace {

/// The conversions of one compilation, with memory exactly as large as they may
/// use: the heap's checks see what goes beyond.
template <auto widenFunction, auto widenAsciiFunction, auto measureFunction,
          auto narrowAsciiFunction, auto narrowFunction, auto lengthFunction>
struct Conversions {
  struct Widened {
    std::u16string text;
    std::size_t bytes;  // that were widened

    bool operator==(const Widened&) const = default;
  };

  template <auto function>
  static Widened run(const std::string& text) {
    const std::vector<char> exact(text.begin(), text.end());
    std::vector<char16_t> units(exact.size());
    const auto widened = function(exact.data(), exact.data() + exact.size(), units.data());
    return {{units.data(), widened.to}, static_cast<std::size_t>(widened.text - exact.data())};
  }

  static Widened widen(const std::string& text) { return run<widenFunction>(text); }
  static Widened widenAscii(const std::string& text) { return run<widenAsciiFunction>(text); }
  static std::size_t characterLength(const std::string& text) {
    const std::vector<char> exact(text.c_str(), text.c_str() + text.size() + 1);
    return lengthFunction(exact.data());
  }

  static std::string narrowAscii(const std::u16string& text) {
    const std::vector<char16_t> exact(text.begin(), text.end());
    std::vector<char> bytes(exact.size());
    char* const end = narrowAsciiFunction(exact.data(), exact.data() + exact.size(), bytes.data());
    return {bytes.data(), end};
  }

  /// Narrows what can be narrowed.
  static std::string narrow(const std::u16string& text) {
    const std::vector<char16_t> exact(text.begin(), text.end());
    const auto measured = measureFunction(exact.data(), exact.data() + exact.size());
    std::vector<char> bytes(measured.bytes + 1);
    char* const end = narrowFunction(exact.data(), measured.end, bytes.data());
    EXPECT_EQ(static_cast<std::size_t>(end - bytes.data()), measured.bytes);
    return {bytes.data(), end};
  }
};

using Ours = Conversions<&qvr::utf8::widen, &qvr::utf8::widenAscii, &qvr::utf8::measure,
                         &qvr::utf8::narrowAscii, &qvr::utf8::narrow, &qvr::utf8::characterLength>;
using Portable = Conversions<&qvr::utf8_portable::widen, &qvr::utf8_portable::widenAscii,
                             &qvr::utf8_portable::measure, &qvr::utf8_portable::narrowAscii,
                             &qvr::utf8_portable::narrow, &qvr::utf8_portable::characterLength>;

template <class Subject>
class QVRUtf8Test : public testing::Test {};
using Subjects = testing::Types<Ours, Portable>;
TYPED_TEST_SUITE(QVRUtf8Test, Subjects);

std::string encoded(char32_t code) {
  std::string text;
  const auto tail = [&](int shift) { text += static_cast<char>(0x80 | (code >> shift & 0x3F)); };
  if (code < 0x80) return {static_cast<char>(code)};
  if (code < 0x800) {
    text += static_cast<char>(0xC0 | code >> 6);
  } else if (code < 0x10000) {
    text += static_cast<char>(0xE0 | code >> 12);
    tail(6);
  } else {
    text += static_cast<char>(0xF0 | code >> 18);
    tail(12);
    tail(6);
  }
  tail(0);
  return text;
}

std::u16string unitsOf(char32_t code) {
  if (code < 0x10000) return {static_cast<char16_t>(code)};
  return {static_cast<char16_t>(0xD7C0 + (code >> 10)),
          static_cast<char16_t>(0xDC00 + (code & 0x3FF))};
}

TYPED_TEST(QVRUtf8Test, EveryScalarValueGoesThereAndBack) {
  for (char32_t code = 1; code <= 0x10FFFF; ++code) {
    if (code == 0xD800) code = 0xE000;
    const std::string bytes = encoded(code);
    const std::u16string units = unitsOf(code);

    ASSERT_EQ(TypeParam::widen(bytes).text, units) << std::hex << static_cast<unsigned>(code);
    ASSERT_EQ(TypeParam::narrow(units), bytes) << std::hex << static_cast<unsigned>(code);
    ASSERT_EQ(TypeParam::characterLength(bytes), bytes.size());
  }
}

TYPED_TEST(QVRUtf8Test, ThreeBytesAreACharacterOnlyInTheirOnlyForm) {
  // All heads with all second bytes; third bytes at their borders.
  for (std::uint32_t head = 0x80; head < 0x100; ++head) {
    for (std::uint32_t second = 1; second < 0x100; ++second) {
      for (const std::uint32_t third : {0x41u, 0x7Fu, 0x80u, 0xBFu, 0xC0u, 0xFFu}) {
        const std::string text = {static_cast<char>(head), static_cast<char>(second),
                                  static_cast<char>(third)};
        const std::uint32_t code = (head & 0xF) << 12 | (second & 0x3F) << 6 | (third & 0x3F);
        const bool tails = (second & 0xC0) == 0x80 && (third & 0xC0) == 0x80;
        const bool three = head >> 4 == 0xE && tails && code >= 0x800 && code >> 11 != 0x1B;
        const bool two = head >= 0xC2 && head < 0xE0 && (second & 0xC0) == 0x80;

        ASSERT_EQ(TypeParam::characterLength(text), three ? 3u : two ? 2u : 0u) << std::hex << head;
        // In a row they are converted by twos.
        ASSERT_EQ(TypeParam::widen(text + text + text + text).bytes == 12,
                  three || (two && third < 0x80))
            << std::hex << head << ' ' << second << ' ' << third;
      }
    }
  }
}

TYPED_TEST(QVRUtf8Test, WideningStopsAtWhatIsNoCharacter) {
  const char* const bad[] = {"\x80",
                             "\xc1\xbf",
                             "\xe0\x9f\xbf",
                             "\xed\xa0\x80",
                             "\xed\xbf\xbf",
                             "\xf0\x8f\xbf\xbf",
                             "\xf4\x90\x80\x80",
                             "\xf5\x80\x80\x80",
                             "\xff",
                             "\xc3",
                             "\xe6\xbc",
                             "\xf0\x9f\x98",
                             "\xe6\xbc\x41\xe5\xad\x97\xe6\xbc"};
  const std::string before[] = {"", "a", "\xc3\xa4", "\xe6\xbc\xa2", "\xf0\x9f\x98\x80"};
  for (const char* text : bad) {
    for (const std::string& piece : before) {
      std::string lead;
      for (int count = 0; count < 40; ++count, lead += piece) {
        const auto widened = TypeParam::widen(lead + text);
        ASSERT_EQ(widened.bytes, lead.size()) << lead << text;
        ASSERT_EQ(widened.text, TypeParam::widen(lead).text);
      }
    }
  }
}

TYPED_TEST(QVRUtf8Test, WideningAsciiStopsAtTheFirstOther) {
  for (std::size_t lead = 0; lead < 70; ++lead) {
    for (std::size_t behind = 0; behind < 20; ++behind) {
      const std::string text = std::string(lead, '\x7f') + '\x80' + std::string(behind, 'a');
      const auto widened = TypeParam::widenAscii(text);
      ASSERT_EQ(widened.bytes, lead);
      ASSERT_EQ(widened.text, std::u16string(lead, u'\x7f'));
    }
  }
}

TYPED_TEST(QVRUtf8Test, AsciiOfAnyLengthIsNarrowed) {
  for (std::size_t length = 0; length < 140; ++length) {
    EXPECT_EQ(TypeParam::narrowAscii(std::u16string(length, u'\x7f')), std::string(length, '\x7f'));
  }
}

TYPED_TEST(QVRUtf8Test, NarrowingStopsAtZeroAndAtLoneSurrogates) {
  const std::u16string pieces[] = {u"a", u"\u00e4", u"\u6f22", u"\U0001F600"};
  const std::u16string stops[] = {std::u16string(1, u'\0'), u"\xdc00", u"\xd800", u"\xd800x"};
  for (const std::u16string& piece : pieces) {
    for (const std::u16string& stop : stops) {
      std::u16string lead;
      for (int count = 0; count < 80; ++count, lead += piece) {
        ASSERT_EQ(TypeParam::narrow(lead + stop), TypeParam::narrow(lead));
        ASSERT_EQ(TypeParam::narrow(lead + stop + std::u16string(20, u'x')),
                  TypeParam::narrow(lead));
      }
    }
  }
}

TYPED_TEST(QVRUtf8Test, MixedTextsGoThereAndBack) {
  const char32_t codes[] = {0x41,   0x7F,   0x80,   0xE4,   0x7FF,   0x800,
                            0x6F22, 0xD7FF, 0xE000, 0xFFFF, 0x10000, 0x10FFFF};
  std::mt19937 random(5);
  for (int round = 0; round < 20000; ++round) {
    std::string bytes;
    std::u16string units;
    for (std::size_t runs = random() % 12; runs != 0; --runs) {
      const char32_t code = codes[random() % std::size(codes)];
      for (std::size_t count = 1 + random() % 24; count != 0; --count) {
        bytes += encoded(code);
        units += unitsOf(code);
      }
    }
    ASSERT_EQ(TypeParam::widen(bytes).text, units);
    ASSERT_EQ(TypeParam::narrow(units), bytes);
  }
}

TYPED_TEST(QVRUtf8Test, VeryLongTextsAreMeasuredWhole) {
  const std::u16string units(300'000, u'\u00e4');

  EXPECT_EQ(TypeParam::narrow(units).size(), 600'000u);
}

}  // namespace
