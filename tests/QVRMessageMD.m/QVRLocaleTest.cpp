// What a locale writes, converts and refuses.
#include "QVRLocale.h"

#include <gtest/gtest.h>
#include <locale.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <bit>
#include <cmath>
#include <cstdint>
#include <ctime>
#include <initializer_list>
#include <latch>
#include <limits>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <typeinfo>
#include <vector>

#include "QVRSysDate.h"
#include "QVRSysDateTime.h"
#include "QVRSysTime.h"
#include "support/AllocationRefuser.h"
#include "support/GuardedText.h"
#include "support/ScopedEnvironment.h"
#include "support/ScopedLocale.h"
#include "support/VirtualSlot.h"

namespace {

constexpr std::size_t kNoLimit = static_cast<std::size_t>(-1);

std::u16string widened(const std::string& text, std::size_t count) {
  std::u16string out = u"before";
  QVRLocale("").put(out, text.c_str(), count);
  return out;
}

std::u16string widened(const std::string& text) { return widened(text, text.size()); }

std::string narrowed(const std::u16string& text) {
  std::string buffer(text.size() * 8 + 8, '#');
  QVRLocale("").get(text, buffer.data(), buffer.size());
  return buffer.c_str();
}

/// The text of the Exception that `action` throws.
template <class Exception, class Action>
std::string failureOf(Action action) {
  try {
    action();
  } catch (const Exception& failure) {
    EXPECT_TRUE(typeid(failure) == typeid(Exception));
    return failure.what();
  }
  return "none";
}

template <class Action>
std::string runtimeErrorOf(Action action) {
  return failureOf<std::runtime_error>(action);
}

template <class Action>
std::string lengthErrorOf(Action action) {
  return failureOf<std::length_error>(action);
}

const char* const kNotMultibyte = "Invalid multibyte string";
const char* const kNotWide = "Invalid wide-character string";
const char* const kTooSmall = "Output buffer too small";

TEST(QVRLocaleTest, UnitsOfWideTextAreCountedUpToItsZero) {
  EXPECT_EQ(QVRLocale("").length(u""), 0u);
  EXPECT_EQ(QVRLocale("").length(u"a\U0001F600\0b"), 3u);
}

TEST(QVRLocaleTest, ASingleByteEncodingCountsBeyondTheLimit) {
  for (const char* name : {"C", "de_DE.ISO-8859-1"}) {
    const ScopedLocale locale(name);

    EXPECT_EQ(QVRLocale("").length("abc", 1), 3u);
    EXPECT_EQ(QVRLocale("").length("abc\xff", 0), 4u);
    EXPECT_EQ(QVRLocale("").length("", 7), 0u);
  }
}

TEST(QVRLocaleTest, CharactersOfAMultibyteEncodingAreCountedUpToZeroOrLimit) {
  const struct {
    const char* locale;
    const char* text;
    std::size_t limit;
    std::size_t characters;
  } cases[] = {{"C.UTF-8", "abc", 1, 1},
               {"C.UTF-8", "abc", 0, 0},
               {"C.UTF-8", "abc", kNoLimit, 3},
               {"C.UTF-8", "a\xc3\xa4\xe6\xbc\xa2\xf0\x9f\x98\x80", 10, 4},
               {"C.UTF-8", "a\xc3\xa4\xff", 3, 2},  // what lies behind is not looked at
               {"C.UTF-8", "\xff", 0, 0},
               // The C library counts codes that no Unicode character has.
               {"C.UTF-8", "\xf4\x90\x80\x80\xfd\xbf\xbf\xbf\xbf\xbf", 10, 2},
               {"ja_JP.EUC-JP", "a\xc6\xfc\x8f\xb0\xa1", 6, 3},
               {"zh_CN.GB18030", "\xc4\xe3\x81\x30\x81\x30", 6, 2},
               {"zh_HK.BIG5-HKSCS", "\x88\x62\x88\x64", 4, 2}};
  for (const auto& c : cases) {
    const ScopedLocale locale(c.locale);
    EXPECT_EQ(QVRLocale("").length(c.text, c.limit), c.characters) << c.locale << ' ' << c.text;
  }
}

TEST(QVRLocaleTest, CountingRefusesWhatIsNoCharacter) {
  const struct {
    const char* locale;
    const char* text;
  } cases[] = {
      {"C.UTF-8", "a\x80"},         {"C.UTF-8", "a\xc3"},      {"C.UTF-8", "a\xc0\x80"},
      {"C.UTF-8", "a\xed\xa0\x80"}, {"C.UTF-8", "a\xe6\xbc"},  {"C.UTF-8", "a\xfe"},
      {"ja_JP.EUC-JP", "a\xff"},    {"ja_JP.EUC-JP", "a\xc6"}, {"zh_CN.GB18030", "a\x81\x30"}};
  for (const auto& c : cases) {
    const ScopedLocale locale(c.locale);
    EXPECT_EQ(runtimeErrorOf([&] { QVRLocale("").length(c.text, kNoLimit); }),
              "Invalid multibyte character")
        << c.locale << ' ' << c.text;
  }
}

TEST(QVRLocaleTest, CountingRefusesACharacterThatRunsPastTheLimit) {
  const ScopedLocale locale("C.UTF-8");

  EXPECT_EQ(runtimeErrorOf([] { QVRLocale("").length("ab\xc3\xa4", 3); }), kNotMultibyte);
  EXPECT_EQ(runtimeErrorOf([] { QVRLocale("").length("\xe6\xbc\xa2", 2); }), kNotMultibyte);
}

TEST(QVRLocaleTest, NarrowTextIsWidenedUpToItsZero) {
  const ScopedLocale locale("C.UTF-8");

  EXPECT_EQ(widened(""), u"");
  EXPECT_EQ(widened("a\xc3\xa4\xe6\xbc\xa2\xf0\x9f\x98\x80"), u"a\u00e4\u6f22\U0001F600");
  EXPECT_EQ(widened("ab", 7), u"ab");
  EXPECT_EQ(widened("ab", kNoLimit), u"ab");
  EXPECT_EQ(widened({"ab\0cd", 5}), u"ab");
}

TEST(QVRLocaleTest, OneUnitMoreThanTheCountIsWidened) {
  const struct {
    const char* text;
    std::size_t count;
    const char16_t* wide;
  } cases[] = {{"abc", 0, u"a"},
               {"abc", 1, u"ab"},
               {"\xc3\xa4\xc3\xb6\xc3\xbc", 1, u"\u00e4\u00f6"},
               {"\xe6\xbc\xa2\xe5\xad\x97!", 1, u"\u6f22\u5b57"},
               {"\xf0\x9f\x98\x80!", 2, u"\U0001F600!"},
               {"\xf0\x9f\x98\x80!", 1, u"\U0001F600"},
               {"\xf0\x9f\x98\x80!", 0, u""},  // a pair that the limit would cut
               {"a\xf0\x9f\x98\x80!", 1, u"a"},
               {"abc\xff", 2, u"abc"}};  // what lies behind is not looked at
  for (const char* name : {"C.UTF-8", "en_US.UTF-8"}) {
    const ScopedLocale locale(name);
    for (const auto& c : cases) EXPECT_EQ(widened(c.text, c.count), c.wide) << c.text << c.count;
  }
}

TEST(QVRLocaleTest, NothingIsReadBehindTheLastUnitThatCounts) {
  const ScopedLocale locale("C.UTF-8");
  // Neither text has a zero; the heap's checks see what is read behind them.
  const std::vector<char> ascii(40, 'x');
  const std::string chinese = "\xe6\xbc\xa2\xe6\xbc\xa2";
  const std::vector<char> wide(chinese.begin(), chinese.end());
  std::u16string out;

  QVRLocale("").put(out, ascii.data(), 39);
  EXPECT_EQ(out, std::u16string(40, u'x'));
  QVRLocale("").put(out, wide.data(), 1);
  EXPECT_EQ(out, u"\u6f22\u6f22");
}

TEST(QVRLocaleTest, NothingIsReadBehindTheZeroOfACutCharacter) {
  const struct {
    const char* locale;
    const char* text;
  } cases[] = {{"C.UTF-8", "a\xe2\x82"},           {"ja_JP.EUC-JP", "a\x8f\xb0"},
               {"zh_CN.GB18030", "a\x81"},         {"zh_CN.GB18030", "a\x81\x30"},
               {"zh_CN.GB18030", "a\x81\x30\x81"}, {"zh_HK.BIG5-HKSCS", "a\xa4"}};
  for (const auto& c : cases) {
    const ScopedLocale locale(c.locale);
    const GuardedText text(c.text);
    std::u16string out;
    EXPECT_EQ(runtimeErrorOf([&] { QVRLocale("").put(out, text.get(), 99); }), kNotMultibyte)
        << c.locale << ' ' << c.text;
  }
}

TEST(QVRLocaleTest, TextThatCannotBeWidenedIsRefusedAndTheOutputKept) {
  const struct {
    const char* locale;
    std::string text;
  } cases[] = {{"C", "a\x80"},
               {"C.UTF-8", "a\x80"},
               {"C.UTF-8", "a\xc3"},
               {"C.UTF-8", "\xc0\x80"},
               {"C.UTF-8", "\xed\xa0\x80"},
               {"C.UTF-8", "\xf4\x90\x80\x80"},
               {"C.UTF-8", "\xf8\x88\x80\x80\x80"},
               {"C.UTF-8", std::string(5000, 'a') + "\xff"},
               {"ja_JP.EUC-JP", "a\xff"},
               {"zh_CN.GB18030", "\x81\x30\x81"}};
  for (const auto& c : cases) {
    const ScopedLocale locale(c.locale);
    std::u16string out = u"before";
    EXPECT_EQ(runtimeErrorOf([&] { QVRLocale("").put(out, c.text.c_str(), c.text.size()); }),
              kNotMultibyte)
        << c.locale;
    EXPECT_EQ(out, u"before");
  }
}

TEST(QVRLocaleTest, ACutCharacterIsRefusedEvenWhereItsPairWouldNotFit) {
  const ScopedLocale locale("C.UTF-8");

  EXPECT_EQ(runtimeErrorOf([] { widened("a\xf0\x9f\x98", 1); }), kNotMultibyte);
  EXPECT_EQ(runtimeErrorOf([] { widened("a\xf4\x90\x80\x80", 1); }), kNotMultibyte);
}

TEST(QVRLocaleTest, LongTextsAreWidenedWhole) {
  const ScopedLocale locale("C.UTF-8");
  // All lengths about a block of 1,024, with a character across each border.
  const std::string characters[] = {"x", "\xc3\xa4", "\xe6\xbc\xa2", "\xf0\x9f\x98\x80"};
  const std::u16string units[] = {u"x", u"\u00e4", u"\u6f22", u"\U0001F600"};
  for (std::size_t lead = 1015; lead < 1035; ++lead) {
    for (std::size_t kind = 0; kind < std::size(characters); ++kind) {
      std::string text(lead, 'a');
      std::u16string wide(lead, u'a');
      for (int i = 0; i < 700; ++i) {
        text += characters[kind];
        wide += units[kind];
      }
      ASSERT_EQ(widened(text), wide) << lead << ' ' << characters[kind];
      ASSERT_EQ(narrowed(wide), text) << lead << ' ' << characters[kind];
    }
  }
}

TEST(QVRLocaleTest, WideTextIsCopiedWithItsZeros) {
  std::u16string out = u"before";

  QVRLocale("").put(out, u"a\0\xd800", 3);

  EXPECT_EQ(out, std::u16string(u"a\0\xd800", 3));
}

TEST(QVRLocaleTest, WideTextIsNarrowedUpToItsFirstZero) {
  const ScopedLocale locale("C.UTF-8");

  EXPECT_EQ(narrowed(u""), "");
  EXPECT_EQ(narrowed(u"a\u00e4\u6f22\U0001F600"), "a\xc3\xa4\xe6\xbc\xa2\xf0\x9f\x98\x80");
  EXPECT_EQ(narrowed({u"ab\0\xd800", 4}), "ab");
  EXPECT_EQ(narrowed(std::u16string(40, u'x') + u'\0' + u"y"), std::string(40, 'x'));
}

TEST(QVRLocaleTest, NarrowingNeedsRoomForTheZero) {
  for (const char* name : {"C", "C.UTF-8", "de_DE.ISO-8859-1"}) {
    const ScopedLocale locale(name);
    char buffer[] = "######";

    EXPECT_EQ(lengthErrorOf([&] { QVRLocale("").get(u"abc", buffer, 3); }), kTooSmall);
    EXPECT_STREQ(buffer, "######");
    EXPECT_EQ(lengthErrorOf([&] { QVRLocale("").get(u"", buffer, 0); }), kTooSmall);
    QVRLocale("").get(u"abc", buffer, 4);
    EXPECT_EQ(std::string(buffer, 6), std::string("abc\0##", 6));
  }
}

TEST(QVRLocaleTest, WideGetNeedsRoomForTheZero) {
  char16_t buffer[] = u"####";
  const std::u16string text(u"a\0b", 3);

  EXPECT_EQ(lengthErrorOf([&] { QVRLocale("").get(text, buffer, 3); }), kTooSmall);
  EXPECT_EQ(std::u16string(buffer, 4), u"####");
  QVRLocale("").get(text, buffer, 4);
  EXPECT_EQ(std::u16string(buffer, 4), std::u16string(u"a\0b\0", 4));
}

TEST(QVRLocaleTest, TextThatCannotBeNarrowedIsRefusedBeforeASmallBuffer) {
  const struct {
    const char* locale;
    const char16_t* text;
  } cases[] = {{"C", u"abc\u00e4"},
               {"C.UTF-8", u"abc\xd800"},
               {"C.UTF-8", u"abc\xd800x"},
               {"C.UTF-8", u"abc\xdc00"},
               {"C.UTF-8", u"abc\xdc00\xd800"},
               {"C.UTF-8", u"abc\xd800\xd800\xdc00"},
               {"de_DE.ISO-8859-1", u"abc\u20ac"},
               {"de_DE.ISO-8859-1", u"abc\xd83d"},
               {"zh_CN.GB18030", u"abc\xdc00"},
               {"ja_JP.EUC-JP", u"abc\U0001F600"}};
  for (const auto& c : cases) {
    const ScopedLocale locale(c.locale);
    char buffer[] = "######";
    EXPECT_EQ(runtimeErrorOf([&] { QVRLocale("").get(c.text, buffer, 2); }), kNotWide) << c.locale;
    EXPECT_STREQ(buffer, "######");
  }
}

TEST(QVRLocaleTest, ACharacterMadeOfTwoCodesIsNarrowedAsOne) {
  const ScopedLocale locale("zh_HK.BIG5-HKSCS");

  EXPECT_EQ(widened("\x88\x62!"), u"\u00ca\u0304!");
  EXPECT_EQ(narrowed(u"\u00ca\u0304!"), "\x88\x62!");
  EXPECT_EQ(narrowed(u"\u00ca"), "\x88\x66");  // it waited for the second
}

TEST(QVRLocaleTest, LongTextsOfOtherEncodingsGoThereAndBack) {
  const ScopedLocale locale("ja_JP.EUC-JP");
  std::string text;
  std::u16string wide;
  for (int i = 0; i < 2000; ++i) {
    text +=
        "\xc6\xfc"
        "x";
    wide += u"\u65e5x";
  }

  EXPECT_EQ(widened(text), wide);
  EXPECT_EQ(narrowed(wide), text);
}

TEST(QVRLocaleTest, AThreadsOwnLocaleDecides) {
  const ScopedLocale locale("C.UTF-8");
  const locale_t own = newlocale(LC_ALL_MASK, "de_DE.ISO-8859-1", nullptr);
  ASSERT_NE(own, nullptr);
  const locale_t before = uselocale(own);

  const std::u16string wide = widened("\xe4");
  const std::string narrow = narrowed(u"\u00e4");
  const std::size_t length = QVRLocale("").length("\xe4\xe4", 1);
  uselocale(before);
  freelocale(own);

  EXPECT_EQ(wide, u"\u00e4");
  EXPECT_EQ(narrow, "\xe4");
  EXPECT_EQ(length, 2u);
}

template <class Value>
std::string written(Value value) {
  std::u16string out;
  QVRLocale("").put(out, value);
  return narrowed(out);
}

std::string written(double value, unsigned precision) {
  std::u16string out;
  QVRLocale("").put(out, value, precision);
  return narrowed(out);
}

void expectWrittenAsByAStream(const std::vector<double>& values,
                              std::initializer_list<unsigned> precisions) {
  for (const unsigned precision : precisions) {
    for (const double value : values) {
      std::ostringstream stream;
      stream.imbue(std::locale::classic());
      stream.precision(precision);
      stream << value;
      ASSERT_EQ(written(value, precision), stream.str()) << precision;
    }
  }
}

TEST(QVRLocaleTest, IntegersAreWrittenWhole) {
  EXPECT_EQ(written(0L), "0");
  EXPECT_EQ(written(-1234567L), "-1234567");
  EXPECT_EQ(written(std::numeric_limits<long>::min()), "-9223372036854775808");
  EXPECT_EQ(written(std::numeric_limits<long>::max()), "9223372036854775807");
  EXPECT_EQ(written(std::numeric_limits<unsigned long>::max()), "18446744073709551615");
}

TEST(QVRLocaleTest, FloatingPointNumbersAreWrittenAsAClassicStreamDoes) {
  std::mt19937_64 random(7);
  std::vector<double> values = {0.0,
                                -0.0,
                                1.5,
                                100000,
                                1e6,
                                1234567,
                                1e-5,
                                0.1,
                                std::numeric_limits<double>::max(),
                                std::numeric_limits<double>::denorm_min(),
                                std::numeric_limits<double>::infinity(),
                                -std::numeric_limits<double>::infinity(),
                                std::numeric_limits<double>::quiet_NaN(),
                                -std::numeric_limits<double>::quiet_NaN()};
  for (int i = 0; i < 2000; ++i) values.push_back(std::bit_cast<double>(random()));
  expectWrittenAsByAStream(values, {0u, 1u, 6u, 17u, 60u, 767u, 2000u, 2147483648u, 4294967295u});
}

TEST(QVRLocaleTest, NumbersWithoutAnExponentAreRoundedExactly) {
  std::mt19937_64 random(8);
  std::vector<double> values;
  const auto addWithNeighbours = [&](double value) {
    for (const double sign : {1.0, -1.0}) {
      values.insert(values.end(), {sign * value, sign * std::nextafter(value, 0.0),
                                   sign * std::nextafter(value, 2 * value)});
    }
  };
  for (int exponent = -8; exponent <= 18; ++exponent) {
    for (const char* const digits :
         {"1", "5", "25", "35", "12345", "123456", "1234565", "999999", "9999995", "99999949999",
          "123456789012345", "9999999999999995"}) {
      addWithNeighbours(
          std::stod(std::string(digits).append("e").append(std::to_string(exponent - 5))));
    }
  }
  // Halves of the last digit, which go to the even one.
  for (int i = 0; i < 1000; ++i) {
    addWithNeighbours(static_cast<double>(random() % 2000000 + 1) / (1u << random() % 20));
  }
  expectWrittenAsByAStream(values, {1u, 2u, 3u, 6u, 14u, 15u, 16u});
}

TEST(QVRLocaleTest, NumbersFollowNoLocale) {
  struct Grouping : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };
  const ScopedLocale locale("de_DE.UTF-8");
  const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Grouping));

  const std::string integer = written(1234567L);
  const std::string floating = written(1234.5, 6);
  std::locale::global(before);

  EXPECT_EQ(integer, "1234567");
  EXPECT_EQ(floating, "1234.5");
}

TEST(QVRLocaleTest, MoneyIsADollarSignAndTheAmountInFourPlaces) {
  const struct {
    double amount;
    const char* text;
  } cases[] = {{1.5, "$ 1.5"},      {0, "$   0"},  {1234, "$1234"},
               {12345, "$12345"},   {-2, "$  -2"}, {1234567.25, "$1.23457e+06"},
               {0.1 + 0.2, "$ 0.3"}};
  for (const auto& c : cases) {
    for (const auto symbol : {QVRMsgBase::NoSymbol, QVRMsgBase::LocalSymbol,
                              QVRMsgBase::InternationalSymbol, QVRMsgBase::SymbolType(9)}) {
      std::u16string out = u"before";
      QVRLocale("").putMoney(out, c.amount, symbol);
      EXPECT_EQ(narrowed(out), c.text);
    }
  }
}

TEST(QVRLocaleTest, DatesAndTimesAreWrittenWhateverTheLetter) {
  const ScopedEnvironment zone("TZ", "CET-1");
  tzset();
  const QVRSysDate date(24, 12, 2031);
  const QVRSysTime time(15, 4, 5, 0);
  std::tm broken{};
  broken.tm_mday = 24;
  broken.tm_mon = 11;
  broken.tm_year = 131;
  broken.tm_hour = 15;
  broken.tm_min = 4;
  broken.tm_sec = 5;
  const QVRLocale locale("");
  for (const char letter : {'x', 'X', 'c', 'D', '?', '\0'}) {
    std::u16string out = u"before";
    locale.put(out, date, letter);
    EXPECT_EQ(out, u"12/24/31");
    locale.put(out, time, letter);
    EXPECT_EQ(out, u"15:04:05");
    locale.put(out, QVRSysDateTime(date, time), letter);
    EXPECT_EQ(narrowed(out), QVRSysDateTime(date, time).getTime().toString("%H:%M:%S %p"));
    locale.put(out, broken, letter);
    EXPECT_EQ(out, u"15:04:05 PM");
  }
}

/// Sees what is handed on from one operation to the next.
class Recording : public QVRLocale {
 public:
  Recording() : QVRLocale("") {}

  using QVRLocale::put;
  void put(std::u16string& out, const wchar16* text, std::size_t count) const override {
    out = u"<";
    out.append(text, count).append(u">");
  }
  void put(std::u16string& out, const char* text, std::size_t count) const override {
    ++narrow;
    QVRLocale::put(out, text, count);
  }

  mutable int narrow = 0;
};

TEST(QVRLocaleTest, EveryValueEndsInTheNarrowPutAndThatInTheWideOne) {
  const ScopedLocale name("C.UTF-8");
  const Recording locale;
  std::u16string out;
  const std::string text(3000, 'x');

  locale.put(out, text.c_str(), text.size());
  EXPECT_EQ(out, u"<" + std::u16string(3000, u'x') + u">");
  locale.put(out, 1.5, 6u);
  EXPECT_EQ(out, u"<1.5>");
  locale.put(out, -7L);
  EXPECT_EQ(out, u"<-7>");
  locale.put(out, 7UL);
  EXPECT_EQ(out, u"<7>");
  locale.put(out, QVRSysDate(1, 2, 2003), 'x');
  EXPECT_EQ(out, u"<02/01/03>");
  locale.put(out, QVRSysTime(1, 2, 3, 4), 'x');
  EXPECT_EQ(out, u"<01:02:03>");
  locale.putMoney(out, 2, QVRMsgBase::NoSymbol);
  EXPECT_EQ(out, u"<$   2>");
  EXPECT_EQ(locale.narrow, 7);
}

TEST(QVRLocaleTest, VirtualOperationsStandInTheirOrder) {
  using L = QVRLocale;
  using Out = std::u16string;
  const std::size_t slots[] = {
      slotOf<std::size_t (L::*)(const wchar16*) const>(&L::length),
      slotOf<std::size_t (L::*)(const char*, std::size_t) const>(&L::length),
      slotOf<void (L::*)(Out&, const QVRSysDate&, char) const>(&L::put),
      slotOf<void (L::*)(Out&, const QVRSysTime&, char) const>(&L::put),
      slotOf<void (L::*)(Out&, const QVRSysDateTime&, char) const>(&L::put),
      slotOf<void (L::*)(Out&, const std::tm&, char) const>(&L::put),
      slotOf<void (L::*)(Out&, double, unsigned) const>(&L::put),
      slotOf<void (L::*)(Out&, unsigned long) const>(&L::put),
      slotOf<void (L::*)(Out&, long) const>(&L::put),
      slotOf<void (L::*)(Out&, const wchar16*, std::size_t) const>(&L::put),
      slotOf<void (L::*)(Out&, const char*, std::size_t) const>(&L::put),
      slotOf<void (L::*)(const Out&, wchar16*, std::size_t) const>(&L::get),
      slotOf<void (L::*)(const Out&, char*, std::size_t) const>(&L::get),
      slotOf(&L::putMoney)};
  for (std::size_t i = 0; i < std::size(slots); ++i) EXPECT_EQ(slots[i], i + 2);
}

TEST(QVRLocaleTest, ExistsAcceptsWhatSetlocaleDoes) {
  const std::string rest =
      ";LC_NUMERIC=C;LC_TIME=C;LC_COLLATE=C;LC_MONETARY=C;LC_MESSAGES=C;LC_PAPER=C;LC_NAME=C;"
      "LC_ADDRESS=C;LC_TELEPHONE=C;LC_MEASUREMENT=C;LC_IDENTIFICATION=C";
  const std::string names[] = {"",
                               "C",
                               "POSIX",
                               "C.UTF-8",
                               "C.utf8",
                               "en_US.UTF-8",
                               "de_DE.ISO-8859-1",
                               "zh_CN.GB18030",
                               "xx_XX",
                               "../locales/en_US.UTF-8",
                               "en_US.UTF-8/",
                               "/",
                               ";",
                               "=",
                               "LC_ALL=C",
                               "LC_CTYPE=C",
                               "LC_CTYPE=en_US.UTF-8" + rest,
                               "LC_CTYPE=xx_XX" + rest,
                               "LC_CTYPE=en_US.UTF-8" + rest + ";",
                               "LC_NONE=C;LC_CTYPE=C" + rest,
                               std::string(300, 'x')};
  for (const char* environment : {"C", "de_DE.UTF-8", "xx_XX"}) {
    const ScopedEnvironment all("LC_ALL", environment);
    for (const std::string& name : names) {
      bool accepted;
      {
        const ScopedLocale restored("C");
        accepted = std::setlocale(LC_ALL, name.c_str()) != nullptr;
      }
      EXPECT_EQ(QVRLocale::exists(name.c_str()), accepted) << name << ' ' << environment;
    }
  }
}

TEST(QVRLocaleTest, NoLocaleHasANullName) { EXPECT_FALSE(QVRLocale::exists(nullptr)); }

TEST(QVRLocaleTest, TheProcessesLocaleStaysAsItIs) {
  const ScopedLocale locale("en_US.UTF-8");
  const ScopedEnvironment all("LC_ALL", "de_DE.UTF-8");

  QVRLocale::onExit();
  QVRLocale::global();
  QVRLocale::exists("ja_JP.EUC-JP");
  QVRLocale::exists("xx_XX");

  EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "en_US.UTF-8");
}

TEST(QVRLocaleTest, ThreadsThatAskAtOnceGetOneInstance) {
  for (int round = 0; round < 20; ++round) {
    constexpr std::size_t kThreads = 4;
    QVRLocale::onExit();
    std::latch start(kThreads);
    std::array<const QVRLocale*, kThreads> seen{};
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < kThreads; ++i) {
      threads.emplace_back([&, i] {
        start.arrive_and_wait();
        seen[i] = &QVRLocale::global();
      });
    }
    for (std::thread& thread : threads) thread.join();

    for (const QVRLocale* instance : seen) EXPECT_EQ(instance, &QVRLocale::global());
  }
}

TEST(QVRLocaleTest, AfterOnExitThereIsANewInstance) {
  QVRLocale::global();
  QVRLocale::onExit();
  QVRLocale::onExit();
  std::u16string out;

  QVRLocale::global().put(out, 5L);

  EXPECT_EQ(out, u"5");
}

TEST(QVRLocaleDeathTest, AProcessEndsWellWithAndWithoutAnInstance) {
  const auto end = [](bool withInstance) {
    QVRLocale::global();
    QVRLocale::onExit();
    if (withInstance) QVRLocale::global();
    std::exit(0);
  };

  EXPECT_EXIT(end(true), testing::ExitedWithCode(0), "");
  EXPECT_EXIT(end(false), testing::ExitedWithCode(0), "");
}

TEST(QVRLocaleTest, AForkedChildCanUseLocalesThatItsParentWasLookingFor) {
  std::atomic<bool> ends = false;
  std::latch looking(1);
  std::thread other([&] {
    QVRLocale::exists("en_US.UTF-8");
    looking.count_down();
    while (!ends) QVRLocale::exists("en_US.UTF-8");
  });
  looking.wait();

  for (int round = 0; round < 20; ++round) {
    const pid_t child = fork();
    if (child == 0) {
      alarm(60);
      _exit(QVRLocale::exists("C") && QVRLocale::exists("en_US.UTF-8") ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
  }
  ends = true;
  other.join();
}

TEST(QVRLocaleTest, RefusedMemoryLeavesTheOutputAsItWas) {
  for (const char* name : {"C.UTF-8", "ja_JP.EUC-JP"}) {
    const ScopedLocale locale(name);
    const std::string text(5000, 'x');
    const std::u16string wide(5000, u'x');
    std::u16string out = u"before";
    std::string buffer(5001, '#');

    EXPECT_GE(refuseEachAllocation([&] { QVRLocale("").put(out, text.c_str(), text.size()); },
                                   [&] { EXPECT_EQ(out, u"before"); }),
              1u);
    EXPECT_EQ(out, wide);
    refuseEachAllocation([&] { QVRLocale("").get(wide, buffer.data(), buffer.size()); },
                         [&] { EXPECT_EQ(buffer, std::string(5001, '#')); });
    EXPECT_EQ(buffer.c_str(), text);
  }
}

TEST(QVRLocaleTest, ShortTextsNeedNoMemoryButThatOfTheOutput) {
  for (const char* name : {"C.UTF-8", "ja_JP.EUC-JP"}) {
    const ScopedLocale locale(name);
    const std::string text(1024, 'x');
    std::u16string out(1024, u' ');
    char buffer[1025];
    const QVRLocale& global = QVRLocale::global();
    const AllocationRefuser refuser(0);

    global.put(out, text.c_str(), text.size());
    global.get(out, buffer, sizeof buffer);

    EXPECT_EQ(refuser.count(), 0u);
  }
}

TEST(QVRLocaleTest, AnInstanceThatCannotBeHadIsMadeTheNextTime) {
  QVRLocale::onExit();

  EXPECT_EQ(refuseEachAllocation([] { QVRLocale::global(); }), 1u);
  std::u16string out;
  QVRLocale::global().put(out, 7L);
  EXPECT_EQ(out, u"7");
}

}  // namespace
