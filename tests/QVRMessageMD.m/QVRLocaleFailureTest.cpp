// That the library's own conversions and those of the C library agree, and what
// failures of the system do.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "QVRLocale.h"
#include "QVRSystem/internal/QVRThreadState.h"
#include "support/AllocationRefuser.h"
#include "support/PlatformPlan.h"
#include "support/ScopedLocale.h"

namespace {

/// What a conversion gives, or why it fails.
template <class Text>
struct Result {
  Text text;
  std::string failure;

  bool operator==(const Result&) const = default;
};

Result<std::u16string> widened(const std::string& text, std::size_t count) {
  Result<std::u16string> result;
  try {
    QVRLocale::global().put(result.text, text.c_str(), count);
  } catch (const std::runtime_error& failure) {
    result.failure = failure.what();
  }
  return result;
}

Result<std::string> narrowed(const std::u16string& text, std::size_t bufferLength) {
  Result<std::string> result;
  std::string buffer(bufferLength, '#');
  try {
    QVRLocale::global().get(text, buffer.data(), bufferLength);
    result.text = buffer;
  } catch (const std::exception& failure) {
    result.failure = failure.what();
  }
  return result;
}

Result<std::size_t> counted(const std::string& text, std::size_t maxBytes) {
  Result<std::size_t> result{};
  try {
    result.text = QVRLocale::global().length(text.c_str(), maxBytes);
  } catch (const std::runtime_error& failure) {
    result.failure = failure.what();
  }
  return result;
}

/// The same by the C library: without the name of the encoding the library
/// converts nothing itself.
template <class Conversion>
auto byCLibrary(Conversion conversion) {
  const PlatformPlan plan("codeset", EINVAL);
  return conversion();
}

std::string hexOf(const std::string& text) {
  static const char* const kDigits = "0123456789abcdef";
  std::string hex;
  for (const char c : text) {
    hex += kDigits[static_cast<unsigned char>(c) >> 4];
    hex += kDigits[c & 0xF];
  }
  return hex;
}

void expectTheSame(const std::string& text, std::size_t limit) {
  ASSERT_EQ(widened(text, limit), byCLibrary([&] { return widened(text, limit); }))
      << hexOf(text) << " limit " << limit;
  ASSERT_EQ(counted(text, limit), byCLibrary([&] { return counted(text, limit); }))
      << hexOf(text) << " limit " << limit;
}

const char* const kLocales[] = {"C", "C.UTF-8"};

TEST(QVRLocaleFailureTest, EveryScalarValueIsConvertedAsTheCLibraryDoesIt) {
  for (const char* name : {"C.UTF-8", "en_US.UTF-8"}) {
    const ScopedLocale locale(name);
    std::u16string text;
    for (char32_t code = 1; code <= 0x10FFFF; ++code) {
      if (code == 0xD800) code = 0xE000;
      if (code > 0xFFFF) text += static_cast<char16_t>(0xD7C0 + (code >> 10));
      text += static_cast<char16_t>(code > 0xFFFF ? 0xDC00 + (code & 0x3FF) : code);
    }
    const std::size_t room = text.size() * 3;

    const auto narrow = narrowed(text, room);
    EXPECT_TRUE(narrow == byCLibrary([&] { return narrowed(text, room); }));
    EXPECT_TRUE(widened(narrow.text, room).text == text);
    EXPECT_TRUE(byCLibrary([&] { return widened(narrow.text, room); }).text == text);
  }
}

TEST(QVRLocaleFailureTest, AllSequencesOfOneAndTwoBytesFareAsInTheCLibrary) {
  for (const char* name : kLocales) {
    const ScopedLocale locale(name);
    for (int first = 1; first < 256; ++first) {
      expectTheSame({static_cast<char>(first)}, 1);
      for (int second = 1; second < 256; ++second) {
        expectTheSame({static_cast<char>(first), static_cast<char>(second)}, 2);
      }
    }
  }
}

TEST(QVRLocaleFailureTest, SequencesOfBytesAtEveryBorderFareAsInTheCLibrary) {
  const ScopedLocale locale("C.UTF-8");
  // Both sides of every border between the classes of bytes.
  const unsigned char heads[] = {0x41, 0x7F, 0x80, 0xC1, 0xC2, 0xDF, 0xE0, 0xE1, 0xEC, 0xED, 0xEE,
                                 0xEF, 0xF0, 0xF1, 0xF3, 0xF4, 0xF5, 0xF7, 0xF8, 0xFC, 0xFE, 0xFF};
  const unsigned char tails[] = {0x41, 0x7F, 0x80, 0x87, 0x88, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0};
  for (const unsigned char head : heads) {
    for (const unsigned char second : tails) {
      for (const unsigned char third : tails) {
        for (const unsigned char fourth : tails) {
          const std::string text = {static_cast<char>(head), static_cast<char>(second),
                                    static_cast<char>(third), static_cast<char>(fourth)};
          expectTheSame(text, 4);
          expectTheSame(text.substr(0, 3), 3);
        }
      }
    }
  }
}

TEST(QVRLocaleFailureTest, RandomTextsFareAsInTheCLibraryWhateverTheLimit) {
  const std::string pieces[] = {"a",
                                "0123456789abcdefghij",
                                "\xc3\xa4",
                                "\xe6\xbc\xa2",
                                "\xe6\xbc\xa2\xe5\xad\x97\xe6\xbc\xa2\xe5\xad\x97\xe6\xbc\xa2",
                                "\xf0\x9f\x98\x80",
                                "\xf8\x88\x80\x80\x80",
                                "\xf4\x90\x80\x80",
                                "\xed\xa0\x80",
                                "\xe6\xbc",
                                "\xff"};
  constexpr std::size_t kValid = 6;
  std::mt19937 random(3);
  for (const char* name : kLocales) {
    const ScopedLocale locale(name);
    for (int round = 0; round < 4000; ++round) {
      const std::size_t kinds = round % 4 == 0 ? std::size(pieces) : kValid;
      std::string text;
      for (std::size_t count = random() % 24; count != 0; --count) text += pieces[random() % kinds];
      expectTheSame(text, random() % (text.size() + 8));
      expectTheSame(text, text.size());
    }
  }
}

TEST(QVRLocaleFailureTest, RandomWideTextsFareAsInTheCLibraryWhateverTheRoom) {
  const std::u16string pieces[] = {u"a",
                                   u"0123456789abcdefghijklmnopqrstuvwxyz",
                                   u"\u00e4",
                                   u"\u6f22",
                                   u"\u6f22\u5b57\u6f22\u5b57\u6f22\u5b57\u6f22\u5b57\u6f22",
                                   u"\U0001F600",
                                   u"\U000E0041",
                                   std::u16string(1, u'\0'),
                                   u"\xd800",
                                   u"\xdc00"};
  constexpr std::size_t kValid = 7;
  std::mt19937 random(4);
  for (const char* name : kLocales) {
    const ScopedLocale locale(name);
    for (int round = 0; round < 4000; ++round) {
      const std::size_t kinds = round % 4 == 0 ? std::size(pieces) : kValid;
      std::u16string text;
      for (std::size_t count = random() % 24; count != 0; --count) text += pieces[random() % kinds];
      const std::size_t room = random() % (text.size() * 3 + 2);

      ASSERT_EQ(narrowed(text, room), byCLibrary([&] { return narrowed(text, room); }))
          << name << ' ' << round;
    }
  }
}

TEST(QVRLocaleFailureTest, WithoutTheNameOfItsEncodingTextIsConvertedAllTheSame) {
  const ScopedLocale locale("ja_JP.EUC-JP");
  const PlatformPlan plan("codeset", EINVAL);

  EXPECT_EQ(widened("\xc6\xfc", 2).text, u"\u65e5");
  EXPECT_EQ(narrowed(u"\u65e5", 3).text, std::string("\xc6\xfc\0", 3));
}

TEST(QVRLocaleFailureTest, ALocaleThatCannotBeLookedForDoesNotExist) {
  const PlatformPlan plan("probeLocale", ENOMEM);

  EXPECT_FALSE(QVRLocale::exists("C"));
  EXPECT_EQ(plan.calls(), 1u);
}

TEST(QVRLocaleFailureTest, TheInstanceIsMadeWhateverBecomesOfTheUsersLocale) {
  QVRLocale::onExit();
  const PlatformPlan plan("probeLocale", ENOENT);
  std::u16string out;

  QVRLocale::global().put(out, 7L);
  QVRLocale::global();

  EXPECT_EQ(out, u"7");
  EXPECT_EQ(plan.calls(), 1u);
}

// A heap of a caller's that waits would keep its thread from being stopped, and the lock.
TEST(QVRLocaleFailureTest, TheInstancesMemoryIsHadOutsideShortSections) {
  QVRLocale::onExit();
  std::size_t allocations = 0;
  const AllocationObserver observer([&](std::size_t) {
    ++allocations;
    EXPECT_EQ(qvr::internal::threadState.shortSections, 0u);
  });

  refuseEachAllocation([] { QVRLocale::global(); });

  EXPECT_GE(allocations, 2u);
  EXPECT_EQ(qvr::internal::threadState.shortSections, 0u);
}

}  // namespace
