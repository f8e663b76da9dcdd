// What the locks take for granted of the system's waits and barriers.
#include "QVRSystem/platform/QVRPlatformThread.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>

#include "support/ForkedChild.h"

namespace {

TEST(QVRPlatformThreadTest, WaitThatFailsLeavesErrnoAlone) {
  std::uint32_t word = 1;
  errno = ENOTDIR;

  EXPECT_EQ(qvr::platform::waitWhile(word, 0), EAGAIN);

  EXPECT_EQ(errno, ENOTDIR);
}

TEST(QVRPlatformThreadTest, WakeThatFailsLeavesErrnoAlone) {
  alignas(8) char bytes[8] = {};
  errno = ENOTDIR;

  EXPECT_EQ(qvr::platform::wake(reinterpret_cast<std::uint32_t*>(bytes + 1), 1), EINVAL)
      << "no word lies there";

  EXPECT_EQ(errno, ENOTDIR);
}

TEST(QVRPlatformThreadTest, ChildOfAForkHasTheBarrierOfItsParent) {
  if (qvr::platform::prepareBarrierOfAllThreads() != 0) GTEST_SKIP() << "the system has none";

  EXPECT_EQ(exitStatusOfFork([] { return qvr::platform::barrierOfAllThreads(); }), 0);
}

}  // namespace
