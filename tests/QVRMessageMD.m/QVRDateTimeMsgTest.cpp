// A date-time as an argument.
#include "QVRDateTimeMsg.h"

#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

#include "MarkingLocale.h"

namespace {

const QVRSysDateTime kValue(QVRSysDate(24, 12, 2001), QVRSysTime(13, 5, 9, 0));

TEST(QVRDateTimeMsgTest, FormatLetterStartsAsDateTime) {
  EXPECT_EQ(QVRDateTimeMsg(kValue).getFormat(), QVRMsgBase::DateTime);
}

TEST(QVRDateTimeMsgTest, ValueGoesWithTheFormatLetterToTheLocale) {
  QVRDateTimeMsg argument(kValue);
  EXPECT_EQ(argument.scribe(MarkingLocale()), u"<datetime:c>");

  argument.setFormat('Y');
  EXPECT_EQ(argument.scribe(MarkingLocale()), u"<datetime:Y>");
}

TEST(QVRDateTimeMsgTest, CloneHasClassValueAndSettings) {
  QVRDateTimeMsg argument(kValue);
  argument.setWidth(40);

  const std::unique_ptr<QVRMsgData> clone(argument.clone());

  EXPECT_NE(dynamic_cast<QVRDateTimeMsg*>(clone.get()), nullptr);
  EXPECT_EQ(clone->scribe(QVRLocale::global()), argument.scribe(QVRLocale::global()));
}

TEST(QVRDateTimeMsgTest, IsMadeExplicitly) {
  EXPECT_FALSE((std::is_convertible_v<QVRSysDateTime, QVRDateTimeMsg>));
}

}  // namespace
