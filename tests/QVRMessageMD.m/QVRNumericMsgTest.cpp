// Through which operation of the locale each type of number is written.
#include "QVRNumericMsg.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <type_traits>

#include "MarkingLocale.h"

namespace {

template <class T>
std::u16string marked(T value) {
  return QVRNumericMsg<T>(value).scribe(MarkingLocale());
}

TEST(QVRNumericMsgTest, SignedIntegersAreWrittenAsLong) {
  EXPECT_EQ(marked<short>(-3), u"<long:-3>");
  EXPECT_EQ(marked<int>(-3), u"<long:-3>");
  EXPECT_EQ(marked<long>(std::numeric_limits<long>::min()), u"<long:-9223372036854775808>");
}

TEST(QVRNumericMsgTest, UnsignedIntegersAreWrittenAsUnsignedLong) {
  EXPECT_EQ(marked<unsigned short>(3), u"<unsigned long:3>");
  EXPECT_EQ(marked<unsigned int>(3), u"<unsigned long:3>");
  EXPECT_EQ(marked<unsigned long>(std::numeric_limits<unsigned long>::max()),
            u"<unsigned long:18446744073709551615>");
}

TEST(QVRNumericMsgTest, FloatingPointValuesAreWrittenAsDoubleWithThePrecision) {
  QVRNumericMsg<double> argument(1.5);
  argument.setPrecision(9);

  EXPECT_EQ(argument.scribe(MarkingLocale()), u"<double:1.500000,9>");
  EXPECT_EQ(marked<float>(1.5F), u"<double:1.500000,6>");
  EXPECT_EQ(marked<long double>(1.5L), u"<double:1.500000,6>");
}

TEST(QVRNumericMsgTest, TextIsJustified) {
  QVRNumericMsg<int> argument(42);
  argument.setWidth(5);

  EXPECT_EQ(argument.scribe(QVRLocale::global()), u"   42");
}

TEST(QVRNumericMsgTest, CloneHasClassValueAndSettings) {
  QVRNumericMsg<int> argument(42);
  argument.setWidth(5);

  const std::unique_ptr<QVRMsgData> clone(argument.clone());

  EXPECT_NE(dynamic_cast<QVRNumericMsg<int>*>(clone.get()), nullptr);
  EXPECT_EQ(clone->scribe(QVRLocale::global()), u"   42");
}

TEST(QVRNumericMsgTest, IsMadeExplicitly) {
  EXPECT_FALSE((std::is_convertible_v<int, QVRNumericMsg<int>>));
}

}  // namespace
