// The six settings, and how a text is justified by three of them.
#include "QVRMsgData.h"

#include <gtest/gtest.h>

#include <limits>
#include <type_traits>

namespace {

/// An argument whose text is given.
class TextMsg : public QVRMsgData {
 public:
  explicit TextMsg(std::u16string text) : text_(std::move(text)) {}

  QVRMsgData* clone() const override { return new TextMsg(*this); }
  std::u16string scribe(const QVRLocale&) const override { return justified(); }

  std::u16string justified() const {
    std::u16string text = text_;
    justifyMsg(text);
    return text;
  }

 private:
  std::u16string text_;
};

std::u16string justified(const std::u16string& text, unsigned width, int alignment,
                         wchar16 fill = u'*') {
  TextMsg data(text);
  data.setWidth(width);
  data.setAlignment(static_cast<QVRMsgBase::AlignmentType>(alignment));
  data.setFill(fill);
  return data.justified();
}

TEST(QVRMsgDataTest, ConstantsHaveTheTypesAndValuesOfTheirSettings) {
  static_assert(std::is_same_v<decltype(QVRMsgData::defaultWidth), const unsigned>);
  static_assert(std::is_same_v<decltype(QVRMsgData::defaultFill), const wchar16>);
  static_assert(
      std::is_same_v<decltype(QVRMsgData::defaultAlignment), const QVRMsgBase::AlignmentType>);
  static_assert(std::is_same_v<decltype(QVRMsgData::defaultPrecision), const unsigned>);
  static_assert(std::is_same_v<decltype(QVRMsgData::defaultSymbol), const QVRMsgBase::SymbolType>);
  static_assert(std::is_same_v<decltype(QVRMsgData::defaultFormat), const char>);

  EXPECT_EQ(QVRMsgData::defaultWidth, 0U);
  EXPECT_EQ(QVRMsgData::defaultFill, 32);
  EXPECT_EQ(QVRMsgData::defaultAlignment, 2);
  EXPECT_EQ(QVRMsgData::defaultPrecision, 6U);
  EXPECT_EQ(QVRMsgData::defaultSymbol, 1);
  EXPECT_EQ(QVRMsgData::defaultFormat, 'c');
}

TEST(QVRMsgDataTest, SharedConstantsAreTheConversionLettersAndNumbersOfTheirKinds) {
  static_assert(std::is_same_v<decltype(QVRMsgBase::DateOnly), const char>);
  static_assert(std::is_same_v<std::underlying_type_t<QVRMsgBase::AlignmentType>, int>);
  static_assert(std::is_same_v<std::underlying_type_t<QVRMsgBase::SymbolType>, int>);
  static_assert(std::has_virtual_destructor_v<QVRMsgBase>);

  EXPECT_EQ(QVRMsgBase::DateOnly, 'x');
  EXPECT_EQ(QVRMsgBase::TimeOnly, 'X');
  EXPECT_EQ(QVRMsgBase::DateTime, 'c');
  EXPECT_EQ(QVRMsgBase::AlignLeft, 0);
  EXPECT_EQ(QVRMsgBase::AlignCenter, 1);
  EXPECT_EQ(QVRMsgBase::AlignRight, 2);
  EXPECT_EQ(QVRMsgBase::NoSymbol, 0);
  EXPECT_EQ(QVRMsgBase::LocalSymbol, 1);
  EXPECT_EQ(QVRMsgBase::InternationalSymbol, 2);
}

TEST(QVRMsgDataTest, SettingsStartAtTheirDefaults) {
  const TextMsg data(u"");

  EXPECT_EQ(data.getWidth(), QVRMsgData::defaultWidth);
  EXPECT_EQ(data.getFill(), QVRMsgData::defaultFill);
  EXPECT_EQ(data.getAlignment(), QVRMsgData::defaultAlignment);
  EXPECT_EQ(data.getPrecision(), QVRMsgData::defaultPrecision);
  EXPECT_EQ(data.getSymbol(), QVRMsgData::defaultSymbol);
  EXPECT_EQ(data.getFormat(), QVRMsgData::defaultFormat);
}

TEST(QVRMsgDataTest, CopyTakesAllSixSettings) {
  TextMsg data(u"");
  data.setWidth(7);
  data.setFill(u'_');
  data.setAlignment(QVRMsgBase::AlignLeft);
  data.setPrecision(3);
  data.setSymbol(QVRMsgBase::NoSymbol);
  data.setFormat('x');

  const TextMsg copy(data);

  EXPECT_EQ(copy.getWidth(), 7U);
  EXPECT_EQ(copy.getFill(), u'_');
  EXPECT_EQ(copy.getAlignment(), QVRMsgBase::AlignLeft);
  EXPECT_EQ(copy.getPrecision(), 3U);
  EXPECT_EQ(copy.getSymbol(), QVRMsgBase::NoSymbol);
  EXPECT_EQ(copy.getFormat(), 'x');
}

TEST(QVRMsgDataTest, AssignmentIsLeftToDerivedClasses) {
  EXPECT_FALSE(std::is_copy_assignable_v<QVRMsgData>);
  EXPECT_TRUE(std::is_copy_assignable_v<TextMsg>);
}

TEST(QVRMsgDataTest, ShortTextIsFilledUpToTheWidth) {
  const struct {
    const char16_t* text;
    unsigned width;
    int alignment;
    const char16_t* expected;
  } cases[] = {
      {u"ab", 4, 0, u"ab**"},     {u"ab", 4, 1, u"*ab*"}, {u"ab", 4, 2, u"**ab"},
      {u"a", 4, 0, u"a***"},      {u"a", 4, 1, u"*a**"},  {u"a", 4, 2, u"***a"},
      {u"abc", 4, 1, u"abc*"},    {u"", 3, 1, u"***"},    {u"abcd", 4, 2, u"abcd"},
      {u"abcde", 4, 2, u"abcde"}, {u"ab", 0, 0, u"ab"},
  };

  for (const auto& c : cases) {
    EXPECT_EQ(justified(c.text, c.width, c.alignment), c.expected) << c.width << c.alignment;
  }
}

TEST(QVRMsgDataTest, AlignmentOfAnyOtherValueLeavesTheText) {
  for (const int alignment : {-1, 3, std::numeric_limits<int>::max()}) {
    EXPECT_EQ(justified(u"ab", 9, alignment), u"ab") << alignment;
  }
}

TEST(QVRMsgDataTest, WidthCountsCodeUnits) {
  EXPECT_EQ(justified(u"\U0001F600", 3, 2), u"*\U0001F600");
}

TEST(QVRMsgDataTest, FillMayBeAnyCodeUnit) {
  EXPECT_EQ(justified(u"a", 3, 0, u'\0'), std::u16string(u"a\0\0", 3));
  EXPECT_EQ(justified(u"a", 2, 0, u'\u4e2d'), u"a\u4e2d");
}

}  // namespace
