// What a directory asks of the system, and what becomes of it when that fails.
#include <gtest/gtest.h>

#include <cerrno>

#include "QVREAccessDenied.h"
#include "QVROSDirectory.h"
#include "support/ExpectFailure.h"
#include "support/PlatformPlan.h"
#include "support/TemporaryDirectory.h"

namespace {

TEST(QVROSDirectoryFailureTest, FreeSpaceThatTheSystemDoesNotTellIsDenied) {
  const TemporaryDirectory place;
  const PlatformPlan plan("freeSpace", EIO);

  expectFailure<QVREAccessDenied>([&] { QVROSDirectory(place.path()).freeSpace(); },
                                  "Failed to get freespace",
                                  "QVRSystem/QVRFileUtilsMD.m/src/QVROSDirectory");
}

TEST(QVROSDirectoryFailureTest, EmptyLooksAtThreeEntriesAtMost) {
  const TemporaryDirectory place;
  for (int i = 0; i < 20; ++i) place.makeFile(std::to_string(i));
  const PlatformPlan entries("nextEntry", 0);

  EXPECT_FALSE(QVROSDirectory(place.path()).empty());

  EXPECT_EQ(entries.calls(), 3u);
}

TEST(QVROSDirectoryFailureTest, ListingWithoutDotsIsEmptyWithTwoEntries) {
  const TemporaryDirectory place;
  place.makeFile("f");
  const PlatformPlan endBehindTwo("nextEntry", ENOENT, 3);

  EXPECT_TRUE(QVROSDirectory(place.path()).empty());
}

}  // namespace
