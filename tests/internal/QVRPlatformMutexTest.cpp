// The system's mutexes, as the rest of the library finds them.
#include "QVRSystem/platform/QVRPlatformMutex.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "support/CommandedThread.h"
#include "support/EndingThreads.h"

namespace {

using qvr::PlatformMutex;
using qvr::platform::closeMutex;
using qvr::platform::createMutex;
using qvr::platform::releaseMutex;
using qvr::platform::waitMutex;

TEST(QVRPlatformMutexTest, AnotherThreadWaitsForTheRelease) {
  PlatformMutex mutex;
  ASSERT_EQ(createMutex(mutex), 0);
  CommandedThread other;
  EXPECT_EQ(waitMutex(mutex), 0);

  other.start([&] { EXPECT_EQ(waitMutex(mutex), 0); });
  EXPECT_TRUE(other.sleeps());
  EXPECT_EQ(releaseMutex(mutex), 0);
  other.finish();

  other.run([&] { EXPECT_EQ(releaseMutex(mutex), 0); });
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
  CommandedThread other;
  other.run([&] { EXPECT_EQ(waitMutex(mutex), 0); });

  EXPECT_EQ(closeMutex(mutex), EBUSY);

  other.run([&] { EXPECT_EQ(releaseMutex(mutex), 0); });
  EXPECT_EQ(closeMutex(mutex), 0);
}

}  // namespace
