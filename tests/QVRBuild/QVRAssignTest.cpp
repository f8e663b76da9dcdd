// Narrow text becomes wide in the encoding of the locale.
#include "QVRAssign.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "support/ScopedLocale.h"

namespace {

TEST(QVRAssignTest, TextBecomesUtf16InTheEncodingOfTheLocale) {
  const struct {
    const char* locale;
    std::string from;
    std::u16string to;
  } cases[] = {{"C", "", u""},
               {"C", "abc", u"abc"},
               {"C.UTF-8", "a\xc3\xa4\xe6\xbc\xa2\xf0\x9f\x98\x80", u"a\u00e4\u6f22\U0001F600"},
               {"C.UTF-8", {"a\0\0b\0", 5}, {u"a\0\0b\0", 5}},
               {"C.UTF-8", std::string(1000, 'x'), std::u16string(1000, u'x')},
               {"de_DE.ISO-8859-1", "\xe4", u"\u00e4"},
               {"ja_JP.EUC-JP", "\xc6\xfc", u"\u65e5"},
               {"zh_CN.GB18030", "\x90\x30\x81\x30", u"\U00010000"},
               {"zh_HK.BIG5-HKSCS", "\x88\x62", u"\u00ca\u0304"}};
  for (const auto& c : cases) {
    const ScopedLocale locale(c.locale);
    std::u16string to = u"before";
    QVRAssign(to, c.from);
    EXPECT_EQ(to, c.to) << c.locale;
  }
}

TEST(QVRAssignTest, TextThatCannotBeWidenedIsRefusedAndTheTargetKept) {
  const struct {
    const char* locale;
    const char* from;
  } cases[] = {{"C.UTF-8", "a\x80"},
               {"C.UTF-8", "a\xc3"},
               {"C.UTF-8", "a\xf4\x90\x80\x80"},
               {"zh_CN.GB18030", "a\x81\x30"}};
  for (const auto& c : cases) {
    const ScopedLocale locale(c.locale);
    std::u16string to = u"before";
    try {
      QVRAssign(to, c.from);
      ADD_FAILURE() << c.from;
    } catch (const std::runtime_error& failure) {
      EXPECT_STREQ(failure.what(), "Invalid multibyte string");
    }
    EXPECT_EQ(to, u"before");
  }
}

}  // namespace
