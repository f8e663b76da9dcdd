// A time of day as an argument.
#include "QVRTimeMsg.h"

#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

#include "MarkingLocale.h"

namespace {

const QVRSysTime kValue(13, 5, 9, 0);

TEST(QVRTimeMsgTest, FormatLetterStartsAsDateTime) {
  EXPECT_EQ(QVRTimeMsg(kValue).getFormat(), QVRMsgBase::DateTime);
}

TEST(QVRTimeMsgTest, ValueGoesWithTheFormatLetterToTheLocale) {
  QVRTimeMsg argument(kValue);
  EXPECT_EQ(argument.scribe(MarkingLocale()), u"<time:c>");

  argument.setFormat('Y');
  EXPECT_EQ(argument.scribe(MarkingLocale()), u"<time:Y>");
}

TEST(QVRTimeMsgTest, CloneHasClassValueAndSettings) {
  QVRTimeMsg argument(kValue);
  argument.setWidth(40);

  const std::unique_ptr<QVRMsgData> clone(argument.clone());

  EXPECT_NE(dynamic_cast<QVRTimeMsg*>(clone.get()), nullptr);
  EXPECT_EQ(clone->scribe(QVRLocale::global()), argument.scribe(QVRLocale::global()));
}

TEST(QVRTimeMsgTest, IsMadeExplicitly) {
  EXPECT_FALSE((std::is_convertible_v<QVRSysTime, QVRTimeMsg>));
}

}  // namespace
