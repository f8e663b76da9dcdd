// That no identifier comes twice.
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <latch>
#include <thread>
#include <vector>

#include "QVRUUID.h"
#include "support/CancelledThread.h"
#include "support/SharedMemory.h"
#include "support/SingleStep.h"

namespace {

std::vector<QVRUUID> generate(std::size_t count) { return std::vector<QVRUUID>(count); }

bool areDistinct(std::vector<QVRUUID> uuids) {
  std::sort(uuids.begin(), uuids.end());
  return std::adjacent_find(uuids.begin(), uuids.end()) == uuids.end();
}

TEST(QVRUUIDGenerationTest, IsOfVersion4AndTheVariantOfRfc4122) {
  for (const QVRUUID& uuid : generate(1000)) {
    const QVRGuid guid = uuid;
    EXPECT_EQ(guid.Data3 >> 12, 4) << uuid;
    EXPECT_EQ(guid.Data4[0] >> 6, 2) << uuid;
  }
}

TEST(QVRUUIDGenerationTest, EveryOtherBitIsSetHalfOfTheTime) {
  constexpr int kCount = 20000;
  std::array<int, 128> set{};
  for (int i = 0; i < kCount; ++i) {
    const QVRGuid guid = QVRUUID();
    std::uint8_t bytes[sizeof guid];
    std::memcpy(bytes, &guid, sizeof guid);
    for (std::size_t bit = 0; bit < set.size(); ++bit) set[bit] += bytes[bit / 8] >> bit % 8 & 1;
  }
  // Some seven standard deviations.
  const auto isHalf = [](int count) { return std::abs(count - kCount / 2) < 500; };
  EXPECT_EQ(std::count_if(set.begin(), set.end(), isHalf), 122);
}

TEST(QVRUUIDGenerationTest, OneThreadGetsNoneTwice) { EXPECT_TRUE(areDistinct(generate(300000))); }

TEST(QVRUUIDGenerationTest, GenerateReplacesTheValue) {
  QVRUUID uuid = QVRUUID::Nil;
  std::vector<QVRUUID> seen;

  for (int i = 0; i < 100; ++i) {
    uuid.generate();
    seen.push_back(uuid);
  }

  EXPECT_TRUE(areDistinct(seen));
  EXPECT_FALSE(std::count(seen.begin(), seen.end(), QVRUUID::Nil));
}

TEST(QVRUUIDGenerationTest, ThreadsGetNoneTwice) {
  constexpr std::size_t kThreads = 4;
  constexpr std::size_t kCount = 30000;
  std::latch start(kThreads);
  std::vector<std::vector<QVRUUID>> parts(kThreads);
  std::vector<std::thread> threads;
  for (auto& part : parts) {
    threads.emplace_back([&] {
      start.arrive_and_wait();
      part = generate(kCount);
    });
  }
  for (std::thread& thread : threads) thread.join();

  std::vector<QVRUUID> all;
  for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
  EXPECT_TRUE(areDistinct(all));
}

TEST(QVRUUIDGenerationTest, ThreadsThatFollowEachOtherGetNoneTwice) {
  std::vector<QVRUUID> all;
  for (int i = 0; i < 200; ++i) {
    std::thread([&] {
      const auto part = generate(3);
      all.insert(all.end(), part.begin(), part.end());
    }).join();
  }
  EXPECT_TRUE(areDistinct(all));
}

TEST(QVRUUIDGenerationTest, IsNoPointOfCancellation) {
  std::vector<QVRUUID> uuids(40, QVRUUID::Nil);

  EXPECT_TRUE(finishesThoughCancelled([&] {
    for (QVRUUID& uuid : uuids) uuid.generate();
  }));

  EXPECT_TRUE(areDistinct(uuids));
}

/// What three processes generate at the same time.
struct Generations {
  static constexpr std::size_t kCount = 100;
  std::array<std::array<QVRGuid, kCount>, 5> parts;

  void fill(std::size_t part) {
    for (QVRGuid& guid : parts[part]) guid = QVRUUID();
  }
  std::vector<QVRUUID> all() const {
    std::vector<QVRUUID> uuids;
    for (const auto& part : parts) uuids.insert(uuids.end(), part.begin(), part.end());
    return uuids;
  }
};

/// Forks as fork() does, but runs no fork handlers.
pid_t forkWithoutHandlers() {
  return static_cast<pid_t>(syscall(SYS_clone, SIGCHLD, nullptr, nullptr, nullptr, nullptr));
}

bool endedWell(pid_t child) {
  int status = -1;
  return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

/// Has two children, of which one has a child itself, and its parent generate at once.
void expectForksToGetNoneTwice(pid_t (*makeChild)()) {
  const SharedMemory<Generations> generations;
  generations->fill(0);

  const pid_t first = makeChild();
  if (first == 0) {
    generations->fill(1);
    const pid_t grandchild = makeChild();
    generations->fill(grandchild == 0 ? 2 : 3);
    _exit(grandchild == 0 || endedWell(grandchild) ? 0 : 1);
  }
  const pid_t second = makeChild();
  generations->fill(4);
  if (second == 0) _exit(areDistinct(generate(100)) ? 0 : 1);

  EXPECT_TRUE(endedWell(first));
  EXPECT_TRUE(endedWell(second));
  EXPECT_TRUE(areDistinct(generations->all()));
}

TEST(QVRUUIDGenerationTest, ForkedChildrenGetNoneTwice) { expectForksToGetNoneTwice(&fork); }

TEST(QVRUUIDGenerationTest, ChildrenForkedWithoutHandlersGetNoneTwice) {
  expectForksToGetNoneTwice(&forkWithoutHandlers);
}

#ifdef QVR_CAN_SINGLE_STEP
TEST(QVRUUIDGenerationTest, HandlerThatInterruptsAtEachInstructionGetsNoneTwice) {
  constexpr std::size_t kCount = 100;
  std::vector<QVRUUID> uuids(kCount, QVRUUID::Nil);
  std::vector<QVRUUID> handlers(100000, QVRUUID::Nil);
  std::size_t steps = 0;

  runInSingleSteps(
      [&] {
        for (QVRUUID& uuid : uuids) uuid.generate();
      },
      [&] {
        if (steps < handlers.size()) handlers[steps].generate();
        ++steps;
      });

  ASSERT_LE(steps, handlers.size());
  EXPECT_GT(steps, 20 * kCount);
  handlers.resize(steps);
  uuids.insert(uuids.end(), handlers.begin(), handlers.end());
  EXPECT_TRUE(areDistinct(uuids));
}
#endif

}  // namespace
