// Bodies that get no lock.
#include <gtest/gtest.h>

#include <cerrno>

#include "QVREInternalError.h"
#include "QVRSysBodyBase.h"
#include "QVRSysMutexLockReports.h"
#include "support/AllocationRefuser.h"
#include "support/ExpectFailure.h"
#include "support/PlatformPlan.h"

namespace {

constexpr char kRefused[] = "Mutex Initialization failed";

TEST(QVRSysBodyBaseFailureTest, RefusedLockIsAnInternalError) {
  const QVRSysBodyBase body;
  const PlatformPlan plan("createMutex", EAGAIN);

  expectFailure<QVREInternalError>([] { const QVRSysBodyBase other; }, kRefused, kMutexSource);
  expectFailure<QVREInternalError>([&] { const QVRSysBodyBase copy(body); }, kRefused,
                                   kMutexSource);
}

TEST(QVRSysBodyBaseFailureTest, LackOfMemoryForTheLockIsAnInternalErrorToo) {
  const AllocationRefuser refuser(1);

  expectFailure<QVREInternalError>([] { const QVRSysBodyBase body; }, kRefused, kMutexSource);

  EXPECT_TRUE(refuser.hasRefused());
}

}  // namespace
