// How threads are made: five settings, and what the platform does not support.
#include "QVRSysThreadAttribute.h"

#include <gtest/gtest.h>

#include <functional>
#include <thread>
#include <vector>

#include "QVRENotSupported.h"
#include "support/ExpectFailure.h"
#include "support/MutualExclusion.h"

namespace {

constexpr char kSource[] = "QVRSystem/QVRThreadsMD.m/src/QVRSysThreadAttribute";

QVRSysThreadAttribute unusual() {
  static int something;
  QVRSysThreadAttribute attribute;
  attribute.setInitialCommittedStackSize(4096);
  attribute.setSecurityAttributes(&something);
  attribute.setCreateSuspendedFlag(QVR_SYS_CREATE_SUSPENDED);
  attribute.setPriority(-7);
  attribute.setDetachState(QVR_SYS_DETACHED);
  return attribute;
}

void expectEqualButDetachState(const QVRSysThreadAttribute& a, const QVRSysThreadAttribute& b) {
  EXPECT_EQ(a.getInitialCommittedStackSize(), b.getInitialCommittedStackSize());
  EXPECT_EQ(a.getSecurityAttributes(), b.getSecurityAttributes());
  EXPECT_EQ(a.getCreateSuspendedFlag(), b.getCreateSuspendedFlag());
  EXPECT_EQ(a.getPriority(), b.getPriority());
}

void expectDefault(const QVRSysThreadAttribute& attribute) {
  EXPECT_EQ(attribute.getInitialCommittedStackSize(), 0u);
  EXPECT_EQ(attribute.getSecurityAttributes(), nullptr);
  EXPECT_EQ(attribute.getCreateSuspendedFlag(), 0u);
  EXPECT_EQ(attribute.getPriority(), 0);
  EXPECT_EQ(attribute.getDetachState(), QVR_SYS_JOINABLE);
}

TEST(QVRSysThreadAttributeTest, DefaultsStandForTheSystemsOwn) { expectDefault({}); }

TEST(QVRSysThreadAttributeTest, CopyTakesEverySetting) {
  const QVRSysThreadAttribute original = unusual();

  const QVRSysThreadAttribute copy(original);

  expectEqualButDetachState(copy, original);
  EXPECT_EQ(copy.getDetachState(), QVR_SYS_DETACHED);
}

TEST(QVRSysThreadAttributeTest, AssignmentKeepsTheDetachStateOfTheTarget) {
  const QVRSysThreadAttribute original = unusual();
  QVRSysThreadAttribute joinable;
  QVRSysThreadAttribute other;
  other.setDetachState(static_cast<QVRSysDetachState>(5));

  EXPECT_EQ(&(joinable = original), &joinable);
  other = joinable;

  expectEqualButDetachState(joinable, original);
  EXPECT_EQ(joinable.getDetachState(), QVR_SYS_JOINABLE);
  expectEqualButDetachState(other, original);
  EXPECT_EQ(other.getDetachState(), 5);
}

TEST(QVRSysThreadAttributeTest, StackSizeIsCutTo32Bits) {
  const struct {
    std::uint64_t set;
    std::uint64_t got;
  } cases[] = {{0, 0},           {1, 1},           {0xFFFFFFFF, 0xFFFFFFFF},
               {0x100000000, 0}, {0x100000001, 1}, {~std::uint64_t{0}, 0xFFFFFFFF}};
  for (const auto& c : cases) {
    QVRSysThreadAttribute attribute;
    attribute.setInitialCommittedStackSize(c.set);
    EXPECT_EQ(attribute.getInitialCommittedStackSize(), c.got) << c.set;
  }
}

TEST(QVRSysThreadAttributeTest, EveryFlagAndPriorityIsKept) {
  QVRSysThreadAttribute attribute;

  attribute.setCreateSuspendedFlag(0xFFFFFFFF);
  attribute.setPriority(1000);

  EXPECT_EQ(attribute.getCreateSuspendedFlag(), 0xFFFFFFFF);
  EXPECT_EQ(attribute.getPriority(), 1000);
  EXPECT_EQ(attribute.getMaximumPriority(), 15);
  EXPECT_EQ(attribute.getMinimumPriority(), -15);
}

TEST(QVRSysThreadAttributeTest, UnsupportedOperationsSaySo) {
  QVRSysThreadAttribute attribute;
  const struct {
    int line;
    std::function<void()> operation;
  } cases[] = {
      {554, [&] { attribute.getStackAddress(); }},
      {599, [&] { attribute.setStackAddress(nullptr); }},
      {653, [&] { attribute.getStackSize(); }},
      {704, [&] { attribute.setStackSize(1); }},
      {773, [&] { attribute.getInheritScheduling(); }},
      {823, [&] { attribute.setInheritScheduling(QVR_SYS_EXPLICIT_SCHEDULING); }},
      {1109, [&] { attribute.getSchedulingPolicy(); }},
      {1184, [&] { attribute.setSchedulingPolicy(QVR_SYS_SCHEDULE_RR); }},
      {1253, [&] { attribute.getContentionScope(); }},
      {1318, [&] { attribute.setContentionScope(QVR_SYS_SCOPE_SYSTEM); }},
  };
  for (const auto& c : cases) {
    expectFailure<QVRENotSupported>(c.operation, " Current platform does not support this function",
                                    kSource, c.line);
  }
  expectDefault(attribute);
}

TEST(QVRSysThreadAttributeTest, EveryThreadGetsTheOneDefaultAttribute) {
  constexpr int kThreads = 16;
  const QVRSysThreadAttribute* seen[kThreads] = {};

  runTogether(kThreads, [&](int number) { seen[number] = &QVRSysThreadAttribute::Default(); });

  for (const auto* attribute : seen) EXPECT_EQ(attribute, &QVRSysThreadAttribute::Default());
  expectDefault(QVRSysThreadAttribute::Default());
}

}  // namespace
