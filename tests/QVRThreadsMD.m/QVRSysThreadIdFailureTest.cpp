// Which services sleeping and yielding ask of the system.
#include <gtest/gtest.h>

#include "QVRSysThreadId.h"
#include "support/PlatformPlan.h"

namespace {

TEST(QVRSysThreadIdFailureTest, SleepOfZeroGivesUpTheTimeSliceOnly) {
  const PlatformPlan sleeps("sleepFor", 0);
  const PlatformPlan yields("yield", 0);

  QVRSysThreadSleep(0);
  QVRSysThreadYield();

  EXPECT_EQ(yields.calls(), 2u);
  EXPECT_EQ(sleeps.calls(), 0u);
}

TEST(QVRSysThreadIdFailureTest, RefusedServicesAreNoTrouble) {
  const PlatformPlan sleeps("sleepFor", 22);
  const PlatformPlan yields("yield", 38);

  QVRSysThreadSleep(1);
  QVRSysThreadYield();

  EXPECT_EQ(sleeps.calls(), 1u);
  EXPECT_EQ(yields.calls(), 1u);
}

}  // namespace
