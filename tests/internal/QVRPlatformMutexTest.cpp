// The system's mutexes, as the rest of the library finds them.
#include "QVRSystem/platform/QVRPlatformMutex.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "support/EndingThreads.h"
#include "support/ThreadTeam.h"

namespace {

using qvr::PlatformMutex;
using qvr::platform::closeMutex;
using qvr::platform::createMutex;
using qvr::platform::releaseMutex;
using qvr::platform::waitMutex;

TEST(QVRPlatformMutexTest, AnotherThreadWaitsForTheRelease) {
  PlatformMutex mutex;
  ASSERT_EQ(createMutex(mutex), 0);
  ThreadTeam team(1);
  EXPECT_EQ(waitMutex(mutex), 0);

  team.begin(0, [&] { EXPECT_EQ(waitMutex(mutex), 0); });
  EXPECT_TRUE(team.isBusy(0));
  EXPECT_EQ(releaseMutex(mutex), 0);
  team.await(0);

  team.run(0, [&] { EXPECT_EQ(releaseMutex(mutex), 0); });
  EXPECT_EQ(closeMutex(mutex), 0);
}

TEST(QVRPlatformMutexTest, TellsOnceThatItsHolderEnded) {
  for (const ThreadEnding& ending : threadEndings()) {
    PlatformMutex mutex;
    ASSERT_EQ(createMutex(mutex), 0);
    ending.run([&] { EXPECT_EQ(waitMutex(mutex), 0); });

    EXPECT_EQ(waitMutex(mutex), EOWNERDEAD) << ending.name;
    EXPECT_EQ(releaseMutex(mutex), 0) << ending.name;
    EXPECT_EQ(waitMutex(mutex), 0) << ending.name;
    EXPECT_EQ(releaseMutex(mutex), 0) << ending.name;
    EXPECT_EQ(closeMutex(mutex), 0) << ending.name;
  }
}

TEST(QVRPlatformMutexTest, ClosesOneWhoseHolderEnded) {
  for (const ThreadEnding& ending : threadEndings()) {
    PlatformMutex mutex;
    ASSERT_EQ(createMutex(mutex), 0);
    ending.run([&] { EXPECT_EQ(waitMutex(mutex), 0); });

    EXPECT_EQ(closeMutex(mutex), 0) << ending.name;
  }
}

TEST(QVRPlatformMutexTest, RefusesToCloseOneThatIsHeldAndLeavesItHeld) {
  PlatformMutex mutex;
  ASSERT_EQ(createMutex(mutex), 0);
  ThreadTeam team(1);
  team.run(0, [&] { EXPECT_EQ(waitMutex(mutex), 0); });

  EXPECT_EQ(closeMutex(mutex), EBUSY);

  team.run(0, [&] { EXPECT_EQ(releaseMutex(mutex), 0); });
  EXPECT_EQ(closeMutex(mutex), 0);
}

}  // namespace
