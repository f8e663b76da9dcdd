// Identifiers when the system's services or the memory fail.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "QVREInvalidFormat.h"
#include "QVRUUID.h"
#include "support/AllocationRefuser.h"
#include "support/AssertRecorder.h"
#include "support/PlatformPlan.h"

namespace {

const AssertRecord kGeneratorFailure{"Program error", "Invalid status code",
                                     "QVRSystem/QVRUUIDMD.m/src/QVRUUID", 777};
constexpr int kEnoughForARefill = 40;

/// Generates until the kernel is asked, which every so many identifiers is. @return the
/// last one.
QVRUUID generateUntilAsked(const PlatformPlan& plan) {
  QVRUUID uuid = QVRUUID::Nil;
  for (int i = 0; plan.calls() == 0 && i < kEnoughForARefill; ++i) uuid.generate();
  return uuid;
}

TEST(QVRUUIDFailureTest, GeneratorFailureIsReportedAndGivesNil) {
  const AssertRecorder asserts;
  const PlatformPlan plan("randomBytes", EPERM);

  const QVRUUID uuid = generateUntilAsked(plan);

  EXPECT_EQ(asserts.only(), kGeneratorFailure);
  EXPECT_EQ(uuid, QVRUUID::Nil);
}

TEST(QVRUUIDFailureTest, DefaultConstructorReportsEveryFailure) {
  const AssertRecorder asserts;
  const PlatformPlan plan("randomBytes", ENOSYS);
  generateUntilAsked(plan);

  EXPECT_EQ(QVRUUID(), QVRUUID::Nil);
  EXPECT_EQ(QVRUUID(), QVRUUID::Nil);

  EXPECT_EQ(asserts.all(), std::vector(3, kGeneratorFailure));
}

TEST(QVRUUIDFailureTest, GenerationGoesOnBehindAFailure) {
  QVRUUID uuid;
  {
    const AssertRecorder asserts;
    const PlatformPlan plan("randomBytes", EPERM);
    uuid = generateUntilAsked(plan);
  }
  EXPECT_TRUE(uuid.isNil());

  uuid.generate();

  EXPECT_FALSE(uuid.isNil());
}

TEST(QVRUUIDFailureTest, GenerationNeedsNoMemory) {
  EXPECT_EQ(refuseEachAllocation([] {
              for (int i = 0; i < kEnoughForARefill; ++i) QVRUUID();
            }),
            0u);
}

TEST(QVRUUIDFailureTest, NoMemoryForATextIsBadAlloc) {
  const QVRUUID uuid;

  EXPECT_EQ(refuseEachAllocation([&] { EXPECT_EQ(uuid.toString().size(), 36u); }), 1u);
}

TEST(QVRUUIDFailureTest, NoMemoryForARefusalIsBadAlloc) {
  const QVRGuid reserved = {0, 0, 0, {0xE0}};
  const std::string reservedText = "00000000-0000-0000-e000-000000000000";
  QVRUUID uuid;

  const auto refused = [](auto make) {
    return refuseEachAllocation([&] {
      try {
        make();
        ADD_FAILURE();
      } catch (const QVREInvalidFormat&) {
      }
    });
  };

  EXPECT_GT(refused([] { QVRUUID(std::string(37, '0').c_str()); }), 0u);
  EXPECT_GT(refused([&] { QVRUUID(reservedText.c_str()); }), 0u);
  EXPECT_GT(refused([&] { QVRUUID made(reserved); }), 0u);
  EXPECT_GT(refused([&] { uuid = reserved; }), 0u);
}

}  // namespace
