// What waits and barriers beneath the locks leave as it was.
#include "QVRSystem/platform/QVRPlatformThread.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>

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

}  // namespace
