// Opening files when the system's services or the memory fail.
#include <gtest/gtest.h>

#include <cerrno>

#include "QVREOpenFailed.h"
#include "QVROSRegularFile.h"
#include "support/AllocationRefuser.h"
#include "support/ExpectFailure.h"
#include "support/PlatformPlan.h"
#include "support/TemporaryDirectory.h"

namespace {

constexpr const char* kSource = "QVRSystem/QVRFileUtilsMD.m/src/QVROSRegularFile";

TEST(QVROSRegularFileFailureTest, DirectoryThatCannotBeReachedDoesNotExist) {
  const TemporaryDirectory place;
  const std::string path = place.makeFile("f");
  const PlatformPlan plan("checkAccess", EACCES);
  QVROSRegularFile file;

  expectFailure<QVREOpenFailed>([&] { file.open(path, std::ios_base::in); },
                                "The directory for the file does not exist", kSource);

  EXPECT_EQ(plan.calls(), 1u);
  EXPECT_FALSE(file.isOpen());
}

TEST(QVROSRegularFileFailureTest, NoMemoryLeavesTheFileClosedAndUsable) {
  const TemporaryDirectory place;
  const QVROSPath path = place.makeFile("file of a name that needs memory");
  QVROSRegularFile file;

  const std::size_t refused = refuseEachAllocation([&] { file.open(path, std::ios_base::in); },
                                                   [&] { EXPECT_FALSE(file.isOpen()); });

  EXPECT_GT(refused, 0u);
  EXPECT_TRUE(file.isOpen());
}

TEST(QVROSRegularFileFailureTest, NoMemoryForAFailureIsBadAlloc) {
  const TemporaryDirectory place;
  const QVROSPath paths[] = {place / "absent/file", place / "absent"};
  for (const QVROSPath& path : paths) {
    EXPECT_GT(refuseEachAllocation([&] {
                try {
                  QVROSRegularFile(path, std::ios_base::in);
                  ADD_FAILURE();
                } catch (const QVREOpenFailed&) {
                }
              }),
              0u);
  }
}

}  // namespace
