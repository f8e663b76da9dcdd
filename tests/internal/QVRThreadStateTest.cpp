// What the library keeps per thread.
#include "QVRSystem/internal/QVRThreadState.h"

#include <gtest/gtest.h>

#include <iterator>
#include <set>
#include <thread>

#include "support/ForkedChild.h"
#include "support/MutualExclusion.h"

namespace {

using qvr::internal::cachedThreadId;
using qvr::internal::currentThreadSerial;
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
  cachedThreadId = qvr::internal::kUnknownThreadId;

  EXPECT_EQ(qvr::internal::currentThreadId(), id);
  EXPECT_EQ(cachedThreadId, id);
}

TEST(QVRThreadStateTest, SerialNumberIsTheThreadsOwnForGood) {
  constexpr std::size_t kThreads = 500;  // one after the other: the kernel may repeat its own
  std::set<std::uint64_t> serials{currentThreadSerial()};

  for (std::size_t i = 0; i < kThreads; ++i) {
    std::thread([&] {
      serials.insert(currentThreadSerial());
      serials.insert(currentThreadSerial());
    }).join();
  }
  serials.insert(currentThreadSerial());

  EXPECT_EQ(serials.size(), kThreads + 1);
  EXPECT_FALSE(serials.contains(0));
}

TEST(QVRThreadStateTest, ThreadsThatBeginTogetherGetSerialNumbersOfTheirOwn) {
  constexpr int kThreads = 64;
  std::uint64_t serials[kThreads] = {};

  runTogether(kThreads, [&](int number) { serials[number] = currentThreadSerial(); });

  EXPECT_EQ(std::set<std::uint64_t>(std::begin(serials), std::end(serials)).size(),
            std::size_t{kThreads});
}

TEST(QVRThreadStateTest, SerialNumberIsTheSameInTheChildOfAFork) {
  const std::uint64_t serial = currentThreadSerial();

  EXPECT_EQ(exitStatusOfFork([&] { return currentThreadSerial() == serial ? 0 : 1; }), 0);
}

}  // namespace
