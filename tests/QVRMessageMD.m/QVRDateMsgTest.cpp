// A calendar date as an argument.
#include "QVRDateMsg.h"

#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

#include "MarkingLocale.h"

namespace {

const QVRSysDate kValue(24, 12, 2001);

TEST(QVRDateMsgTest, FormatLetterStartsAsDateOnly) {
  EXPECT_EQ(QVRDateMsg(kValue).getFormat(), QVRMsgBase::DateOnly);
}

TEST(QVRDateMsgTest, ValueGoesWithTheFormatLetterToTheLocale) {
  QVRDateMsg argument(kValue);
  EXPECT_EQ(argument.scribe(MarkingLocale()), u"<date:x>");

  argument.setFormat('Y');
  EXPECT_EQ(argument.scribe(MarkingLocale()), u"<date:Y>");
}

TEST(QVRDateMsgTest, CloneHasClassValueAndSettings) {
  QVRDateMsg argument(kValue);
  argument.setWidth(40);

  const std::unique_ptr<QVRMsgData> clone(argument.clone());

  EXPECT_NE(dynamic_cast<QVRDateMsg*>(clone.get()), nullptr);
  EXPECT_EQ(clone->scribe(QVRLocale::global()), argument.scribe(QVRLocale::global()));
}

TEST(QVRDateMsgTest, IsMadeExplicitly) {
  EXPECT_FALSE((std::is_convertible_v<QVRSysDate, QVRDateMsg>));
}

}  // namespace
