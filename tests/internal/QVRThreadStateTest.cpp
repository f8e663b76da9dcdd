// What the library keeps per thread.
#include "QVRSystem/internal/QVRThreadState.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

using qvr::internal::ShortSection;
using qvr::internal::threadState;

TEST(QVRThreadStateTest, ShortSectionsNestAndBelongToTheirThread) {
  EXPECT_EQ(threadState.shortSections, 0u);
  {
    const ShortSection outer;
    const ShortSection inner;
    EXPECT_EQ(threadState.shortSections, 2u);
    std::thread([] { EXPECT_EQ(threadState.shortSections, 0u); }).join();
  }
  EXPECT_EQ(threadState.shortSections, 0u);
}

TEST(QVRThreadStateTest, RefreshingFindsTheSameIdentifierAgain) {
  const std::uint32_t id = qvr::internal::currentThreadId();
  threadState.id = 0;

  EXPECT_EQ(qvr::internal::currentThreadId(), id);
  EXPECT_EQ(threadState.id, id);
}

}  // namespace
