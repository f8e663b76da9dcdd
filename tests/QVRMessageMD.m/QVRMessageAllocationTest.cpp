// What is left when memory runs out, and when the list of arguments grows.
#include "QVRMessage.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <sstream>

#include "QVRLocale.h"
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
  for (int i = 1; i <= 32; ++i) message << i;
  message << QVRSetWidth(40);

  const std::size_t refusals = refuseEachAllocation(
      [&] { message << kText; },
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

TEST(QVRMessageAllocationTest, EveryTypeFailsCleanly) {
  QVRMessage message(u"", "file.cpp", 1);
  const QVRMessage other = fullMessage();

  EXPECT_GT(refuseEachAllocation([&] { message << true << false; }), 0U);
  EXPECT_GT(refuseEachAllocation([&] { message << 'a' << "a narrow text on the heap"; }), 0U);
  EXPECT_GT(refuseEachAllocation([&] { message << u"a wide text on the heap" << other; }), 0U);
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
    const AllocationRefuser counter(0);
    message << number;
    const std::size_t clone = 1;
    const std::size_t growth = number == 33 || number == 65 || number == 97 ? 1 : 0;
    EXPECT_EQ(counter.count(), clone + growth) << number;
  }
}

TEST(QVRMessageAllocationTest, CopyHasTheRoomOfItsLength) {
  QVRMessage message(u"", "file.cpp", 1);
  for (int number = 1; number <= 40; ++number) message << number;
  QVRMessage copy(message);

  for (int number = 41; number <= 65; ++number) {
    const AllocationRefuser counter(0);
    copy << number;
    EXPECT_EQ(counter.count(), number == 65 ? 2U : 1U) << number;
  }
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
