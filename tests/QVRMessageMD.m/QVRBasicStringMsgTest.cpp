// How much of a text an argument writes, and what narrow text becomes.
#include "QVRBasicStringMsg.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <type_traits>

#include "MarkingLocale.h"
#include "support/ScopedLocale.h"

namespace {

using NarrowMsg = QVRBasicStringMsg<char>;
using WideMsg = QVRBasicStringMsg<wchar16>;

TEST(QVRBasicStringMsgTest, EachKindGoesThroughItsOwnOperationOfTheLocale) {
  EXPECT_EQ(NarrowMsg("ab").scribe(MarkingLocale()), u"<narrow:ab>");
  EXPECT_EQ(WideMsg(u"ab").scribe(MarkingLocale()), u"<wide:ab>");
}

TEST(QVRBasicStringMsgTest, WideTextIsWrittenWholeAndNarrowTextUpToItsFirstZero) {
  const std::u16string wide(u"a\0b", 3);

  EXPECT_EQ(WideMsg(wide).scribe(QVRLocale::global()), wide);
  EXPECT_EQ(NarrowMsg(std::string("a\0b", 3)).scribe(QVRLocale::global()), u"a");
}

TEST(QVRBasicStringMsgTest, NarrowTextIsConvertedInTheEncodingAtTheTimeOfWriting) {
  const NarrowMsg argument("\xc3\xa9");

  const ScopedLocale latin1("de_DE.ISO-8859-1");
  EXPECT_EQ(argument.scribe(QVRLocale::global()), u"\u00c3\u00a9");
  const ScopedLocale utf8("C.UTF-8");
  EXPECT_EQ(argument.scribe(QVRLocale::global()), u"\u00e9");
}

TEST(QVRBasicStringMsgTest, TextThatIsNoneInTheEncodingFails) {
  const ScopedLocale utf8("C.UTF-8");

  try {
    NarrowMsg("\xc3").scribe(QVRLocale::global());
    FAIL() << "half a character was converted";
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(), "Invalid multibyte string");
  }
}

TEST(QVRBasicStringMsgTest, TextIsJustifiedByItsCodeUnits) {
  const ScopedLocale utf8("C.UTF-8");
  NarrowMsg argument("\xf0\x9f\x98\x80");
  argument.setWidth(3);
  argument.setFill(u'*');

  EXPECT_EQ(argument.scribe(QVRLocale::global()), u"*\U0001F600");
}

TEST(QVRBasicStringMsgTest, CloneHasClassValueAndSettings) {
  WideMsg argument(u"ab");
  argument.setWidth(3);

  const std::unique_ptr<QVRMsgData> clone(argument.clone());

  EXPECT_NE(dynamic_cast<WideMsg*>(clone.get()), nullptr);
  EXPECT_EQ(clone->scribe(QVRLocale::global()), u" ab");
}

TEST(QVRBasicStringMsgTest, CopyAndAssignmentOwnTheirText) {
  auto source = std::make_unique<NarrowMsg>("a text longer than a short string");
  source->setWidth(40);
  const NarrowMsg copy(*source);
  NarrowMsg target("other");

  EXPECT_EQ(&(target = *source), &target);
  const NarrowMsg& self = target;
  target = self;
  source.reset();

  EXPECT_EQ(copy.scribe(QVRLocale::global()), u"       a text longer than a short string");
  EXPECT_EQ(target.scribe(QVRLocale::global()), u"       a text longer than a short string");
}

TEST(QVRBasicStringMsgTest, IsMadeExplicitly) {
  EXPECT_FALSE((std::is_convertible_v<std::string, NarrowMsg>));
}

}  // namespace
