// Texts of times against strftime(), narrow and wide, of any length.
#include "QVRStrftime.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "support/ScopedEnvironment.h"
#include "support/ScopedLocale.h"

namespace {

std::tm someTime() {
  std::tm time{};
  time.tm_year = 104;
  time.tm_mon = 2;
  time.tm_mday = 1;
  time.tm_hour = 15;
  time.tm_min = 4;
  time.tm_sec = 5;
  time.tm_wday = 1;
  time.tm_yday = 60;
  return time;
}

std::string systemText(const char* format, const std::tm& time) {
  char text[1024];
  return std::string(text, std::strftime(text, sizeof text, format, &time));
}

constexpr const char* kConversions = "aAbBcCdDeFgGhHIjmMnprRStTuUVwWxXyYzZ%";

TEST(QVRStrftimeTest, AgreesWithTheSystemInEveryLocale) {
  const ScopedEnvironment zone("TZ", "CET-1CEST,M3.5.0,M10.5.0/3");
  const std::tm time = someTime();
  for (const char* name : {"C", "C.UTF-8", "de_DE.ISO-8859-1", "de_DE.UTF-8", "en_US.UTF-8",
                           "ja_JP.EUC-JP", "zh_CN.GB18030"}) {
    const ScopedLocale locale(name);
    for (const char* c = kConversions; *c != '\0'; ++c) {
      const char format[] = {'<', '%', *c, '>', '\0'};
      EXPECT_EQ(QVRStrftime(format, time), systemText(format, time)) << name << ' ' << format;
    }
  }
}

TEST(QVRStrftimeTest, WideTextIsTheNarrowOneWidened) {
  const ScopedEnvironment zone("TZ", "CET-1CEST,M3.5.0,M10.5.0/3");
  const std::tm time = someTime();
  for (const char* name :
       {"C", "de_DE.ISO-8859-1", "de_DE.UTF-8", "ja_JP.EUC-JP", "zh_CN.GB18030"}) {
    const ScopedLocale locale(name);
    for (const char* c = kConversions; *c != '\0'; ++c) {
      const char format[] = {'<', '%', *c, '>', '\0'};
      const char16_t wideFormat[] = {u'<', u'%', static_cast<char16_t>(*c), u'>', u'\0'};
      wchar_t expected[1024];
      const std::size_t length = std::mbstowcs(expected, systemText(format, time).c_str(), 1024);
      // None of these texts leaves the basic plane.
      EXPECT_EQ(QVRStrftime(wideFormat, time), std::u16string(expected, expected + length))
          << name << ' ' << format;
    }
  }
}

TEST(QVRStrftimeTest, EmptyTextsAreEmpty) {
  const ScopedLocale locale("de_DE.UTF-8");
  std::tm time = someTime();
  EXPECT_EQ(QVRStrftime("", time), "");
  EXPECT_EQ(QVRStrftime(u"", time), u"");
  // German has no halves of the day.
  EXPECT_EQ(QVRStrftime("%p", time), "");
  EXPECT_EQ(QVRStrftime(u"%p%P", time), u"");
}

TEST(QVRStrftimeTest, TextsOfAnyLengthAreWhole) {
  const std::tm time = someTime();
  for (const std::size_t length : {254U, 255U, 256U, 257U, 511U, 512U, 5000U, 100000U}) {
    const std::string literal(length, 'x');
    EXPECT_EQ(QVRStrftime((literal + "%H").c_str(), time), literal + "15") << length;
    const std::u16string wide(length, u'\u6642');
    EXPECT_EQ(QVRStrftime((wide + u"%H").c_str(), time), wide + u"15") << length;
  }
  EXPECT_EQ(QVRStrftime("%070000H", time), std::string(69998, '0') + "15");
}

TEST(QVRStrftimeTest, LiteralsKeepTheirBytes) {
  const ScopedLocale locale("de_DE.ISO-8859-1");
  EXPECT_EQ(QVRStrftime("%d. \xE4\xFF%m%", someTime()),
            "01. \xE4\xFF"
            "03%");
}

TEST(QVRStrftimeTest, WideLiteralsKeepTheirUnitsInAnyLocale) {
  const std::u16string cases[] = {u"\u20AC",
                                  u"\U0001F550",
                                  u"\xD83D",
                                  u"\xDD50",
                                  u"\xDD50\xD83D",
                                  u"a\xD83D",
                                  u"\xFFFF\uE000\uD7FF",
                                  u"\U0010FFFF\U00010000"};
  for (const char* name : {"C", "de_DE.ISO-8859-1", "ja_JP.EUC-JP", "de_DE.UTF-8"}) {
    const ScopedLocale locale(name);
    for (const std::u16string& text : cases) {
      EXPECT_EQ(QVRStrftime((text + u"%H" + text).c_str(), someTime()), text + u"15" + text)
          << name;
    }
  }
}

TEST(QVRStrftimeTest, MonthsAndWeekdaysOfNoNameAreQuestionMarks) {
  const ScopedLocale locale("de_DE.UTF-8");
  for (const int number :
       {-1, 12, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
    std::tm time = someTime();
    time.tm_mon = number;
    EXPECT_EQ(QVRStrftime("%B %A", time), "? Montag");
    EXPECT_EQ(QVRStrftime(u"%B %A \u00E4", time), u"? Montag \u00E4");
    time = someTime();
    time.tm_wday = number;
    EXPECT_EQ(QVRStrftime("%b %a", time), "M\u00E4r ?");
    EXPECT_EQ(QVRStrftime(u"%b %a", time), u"M\u00E4r ?");
    EXPECT_EQ(QVRStrftime(u"\xD83D %a", time), u"?");
  }
}

}  // namespace
