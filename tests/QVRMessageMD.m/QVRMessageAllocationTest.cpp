// What is left when memory runs out, and when the list of arguments grows.
#include "QVRMessage.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <sstream>
#include <string>

#include "QVRBasicStringMsg.h"
#include "QVRLocale.h"
#include "QVRNumericMsg.h"
#include "support/AllocationRefuser.h"

namespace {

constexpr const wchar16* kFormat = u"a format longer than a short string: %1 %2 %33";
const std::u16string kText = u"a text longer than a short string";
const std::u16string kRendered =
    u"a format longer than a short string: 1 a text longer than a short string %33";

QVRMessage fullMessage() {
  QVRMessage message(kFormat, "file.cpp", 1);
  message << 1 << kText;
  return message;
}

TEST(QVRMessageAllocationTest, ConstructionFailsCleanly) {
  EXPECT_GT(refuseEachAllocation([] { QVRMessage(kFormat, "file.cpp", 1); }), 0U);
}

TEST(QVRMessageAllocationTest, CopyAndCloneFailCleanly) {
  const QVRMessage message = fullMessage();

  EXPECT_GT(refuseEachAllocation([&] { QVRMessage copy(message); }), 0U);
  EXPECT_GT(refuseEachAllocation([&] { std::unique_ptr<QVRMsgData>(message.clone()); }), 0U);
  EXPECT_EQ(QVRMessage(message).scribe(), kRendered);
}

TEST(QVRMessageAllocationTest, AssignmentThatFailsLeavesTheTargetAsItWas) {
  const QVRMessage source = fullMessage();
  QVRMessage target(u"%1", "file.cpp", 1);
  target << 5 << QVRSetWidth(3);

  const std::size_t refusals =
      refuseEachAllocation([&] { target = source; }, [&] { EXPECT_EQ(target.scribe(), u"  5"); });

  EXPECT_GT(refusals, 0U);
  EXPECT_EQ(target.scribe(), kRendered);
}

TEST(QVRMessageAllocationTest, AppendThatFailsKeepsArgumentsAndWaitingSettings) {
  QVRMessage message(kFormat, "file.cpp", 1);
  message << 1;
  for (int i = 2; i <= 32; ++i) message.append(QVRNumericMsg<int>(i));
  message << QVRSetWidth(40);

  const std::size_t refusals = refuseEachAllocation(
      [&] { message.append(QVRBasicStringMsg<wchar16>(kText)); },
      [&] {
        EXPECT_EQ(message.getWidth(), 40U);
        QVRMessage copy(message);
        copy << QVRSetWidth(0);
        EXPECT_EQ(copy.scribe(), u"a format longer than a short string: 1 2 %33");
      });

  EXPECT_GT(refusals, 1U);
  EXPECT_EQ(message.getWidth(), QVRMsgData::defaultWidth);
  EXPECT_EQ(message.scribe(), u"a format longer than a short string: 1 2        " + kText);
}

TEST(QVRMessageAllocationTest, EveryKindOfArgumentFailsCleanly) {
  QVRMessage message(u"", "file.cpp", 1);
  const QVRMessage other = fullMessage();
  const std::string large(2000, 'x');

  EXPECT_GT(refuseEachAllocation([&] { message << true << false; }), 0U);
  EXPECT_GT(refuseEachAllocation([&] { message << large; }), 0U);
  EXPECT_GT(refuseEachAllocation([&] { message << other; }), 0U);
  EXPECT_GT(refuseEachAllocation([&] { message.append(QVRNumericMsg<int>(5)); }), 0U);
}

TEST(QVRMessageAllocationTest, RenderingFailsCleanly) {
  QVRMessage message = fullMessage();
  message << QVRSetWidth(200);

  EXPECT_GT(refuseEachAllocation([&] { message.scribe(); }), 0U);
  std::ostringstream out;
  out.exceptions(std::ios::badbit);  // else the stream keeps its own failures to itself
  EXPECT_GT(refuseEachAllocation([&] { out << message; }, [&] { out.clear(); }), 0U);
}

TEST(QVRMessageAllocationTest, ListHasRoomFor32ArgumentsAndGrowsToMultiplesOf32) {
  QVRMessage message(u"", "file.cpp", 1);

  for (int number = 1; number <= 100; ++number) {
    const QVRNumericMsg<int> argument(number);
    const AllocationRefuser counter(0);
    message.append(argument);
    const std::size_t clone = 1;
    const std::size_t growth = number == 33 || number == 65 || number == 97 ? 1 : 0;
    EXPECT_EQ(counter.count(), clone + growth) << number;
  }
}

TEST(QVRMessageAllocationTest, CopyHasTheRoomOfItsLength) {
  QVRMessage message(u"", "file.cpp", 1);
  for (int number = 1; number <= 40; ++number) message.append(QVRNumericMsg<int>(number));
  QVRMessage copy(message);

  for (int number = 41; number <= 65; ++number) {
    const QVRNumericMsg<int> argument(number);
    const AllocationRefuser counter(0);
    copy.append(argument);
    EXPECT_EQ(counter.count(), number == 65 ? 2U : 1U) << number;
  }
}

TEST(QVRMessageAllocationTest, MessageWithAFewArgumentsIsOneAllocation) {
  const AllocationRefuser counter(0);

  QVRMessage message(kFormat, "file.cpp", 1);
  message << 42 << kText << 1.5 << "a narrow text";

  EXPECT_EQ(counter.count(), 1U);
}

TEST(QVRMessageAllocationTest, TextsOfAnyWidthAreRefusedByTheHeapOnly) {
  QVRMessage message(u"ab", "file.cpp", 1);
  message << QVRSetWidth(std::numeric_limits<unsigned>::max());

  for (const auto alignment :
       {QVRMsgBase::AlignLeft, QVRMsgBase::AlignCenter, QVRMsgBase::AlignRight}) {
    message << QVRSetAlignment(alignment);
    const QVRLocale& locale = QVRLocale::global();
    const AllocationRefuser refuser(1);
    EXPECT_THROW(message.scribe(locale), std::bad_alloc);
  }
}

}  // namespace
