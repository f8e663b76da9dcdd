// That random blocks fetched ahead go to one taker each, and what becomes of them when
// the system fails.
#include "QVRSystem/QVRUUIDMD.m/src/QVRRandomReserve.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <latch>
#include <thread>
#include <vector>

#include "support/ForkedChild.h"
#include "support/PlatformPlan.h"
#include "support/SharedMemory.h"
#include "support/SingleStep.h"

namespace qvr::internal {

struct RandomReserveTestAccess {
  static std::size_t left(const RandomReserve& reserve) { return reserve.left_; }
  static bool hasFetched(const RandomReserve& reserve) {
    return reserve.blocks_.back() != RandomBlock();
  }
  static constexpr std::size_t kBlocks = RandomReserve::kBlocks;
};

}  // namespace qvr::internal

namespace {

using qvr::internal::ForkWitness;
using qvr::internal::RandomBlock;
using qvr::internal::RandomReserve;
using Access = qvr::internal::RandomReserveTestAccess;

RandomBlock take(RandomReserve& reserve, ForkWitness& witness) {
  RandomBlock block;
  EXPECT_EQ(reserve.take(witness, block), 0);
  return block;
}

bool areDistinct(std::vector<RandomBlock> blocks) {
  std::sort(blocks.begin(), blocks.end());
  return std::adjacent_find(blocks.begin(), blocks.end()) == blocks.end();
}

TEST(ForkWitnessTest, GenerationStaysWithinAProcess) {
  ForkWitness witness;
  const std::uint64_t generation = witness.generation();
  EXPECT_NE(generation, 0u);

  std::uint64_t others = 0;
  std::thread([&] { others = witness.generation(); }).join();

  EXPECT_EQ(witness.generation(), generation);
  EXPECT_EQ(others, generation);
}

TEST(ForkWitnessTest, GenerationIsAnotherInEachChild) {
  ForkWitness witness;
  const std::uint64_t generation = witness.generation();

  EXPECT_EQ(exitStatusOfFork([&] {
              const std::uint64_t childs = witness.generation();
              const int grandchild = exitStatusOfFork([&] {
                const std::uint64_t last = witness.generation();
                return last != 0 && last != childs && last != generation ? 0 : 1;
              });
              return childs != 0 && childs != generation && witness.generation() == childs
                         ? grandchild
                         : 2;
            }),
            0);
  EXPECT_EQ(witness.generation(), generation);
}

TEST(ForkWitnessTest, ThereIsNoneWithoutAPageThatIsWiped) {
  ForkWitness witness;
  {
    const PlatformPlan plan("mapWipedOnFork", EINVAL);
    EXPECT_EQ(witness.generation(), 0u);
  }
  EXPECT_NE(witness.generation(), 0u);
}

TEST(ForkWitnessTest, ThreadsThatAskFirstAtOnceAgree) {
  constexpr std::size_t kThreads = 3;
  for (int round = 0; round < 100; ++round) {
    const PlatformPlan mapped("mapWipedOnFork", 0);
    const PlatformPlan unmapped("unmapWipedOnFork", 0);
    ForkWitness witness;
    std::latch start(kThreads);
    std::array<std::uint64_t, kThreads> generations{};
    std::vector<std::thread> threads;
    for (std::uint64_t& generation : generations) {
      threads.emplace_back([&] {
        start.arrive_and_wait();
        generation = witness.generation();
      });
    }
    for (std::thread& thread : threads) thread.join();

    EXPECT_NE(generations[0], 0u);
    EXPECT_EQ(generations[1], generations[0]);
    EXPECT_EQ(generations[2], generations[0]);
    EXPECT_EQ(mapped.calls(), unmapped.calls() + 1);
  }
}

TEST(RandomReserveTest, OneCallOfTheKernelServesManyBlocks) {
  RandomReserve reserve;
  ForkWitness witness;
  const PlatformPlan calls("randomBytes", 0);
  std::vector<RandomBlock> blocks;

  for (std::size_t i = 0; i < 3 * Access::kBlocks; ++i) blocks.push_back(take(reserve, witness));

  EXPECT_EQ(calls.calls(), 3u);
  EXPECT_TRUE(areDistinct(blocks));
}

TEST(RandomReserveTest, WithoutAWitnessNothingIsFetchedAhead) {
  RandomReserve reserve;
  ForkWitness witness;
  const PlatformPlan noPage("mapWipedOnFork", ENOMEM);
  const PlatformPlan calls("randomBytes", 0);
  std::vector<RandomBlock> blocks;

  for (int i = 0; i < 5; ++i) blocks.push_back(take(reserve, witness));

  EXPECT_EQ(calls.calls(), 5u);
  EXPECT_EQ(Access::left(reserve), 0u);
  EXPECT_TRUE(areDistinct(blocks));
}

TEST(RandomReserveTest, FailureOfTheKernelIsPassedOnAndLeavesNothingAhead) {
  RandomReserve reserve;
  ForkWitness witness;
  RandomBlock block;
  for (const char* page : {"none", "mapWipedOnFork"}) {
    const PlatformPlan noPage(page, EINVAL);
    const PlatformPlan plan("randomBytes", ENOSYS);
    EXPECT_EQ(reserve.take(witness, block), ENOSYS);
    EXPECT_EQ(Access::left(reserve), 0u);
  }

  EXPECT_NE(take(reserve, witness), take(reserve, witness));
}

TEST(RandomReserveTest, BlocksAheadStayWithTheParent) {
  RandomReserve reserve;
  ForkWitness witness;
  take(reserve, witness);
  const PlatformPlan calls("randomBytes", 0);

  const int callsOfChild = exitStatusOfFork([&] {
    take(reserve, witness);
    return static_cast<int>(calls.calls());
  });
  take(reserve, witness);

  EXPECT_EQ(callsOfChild, 1);
  EXPECT_EQ(calls.calls(), 0u);
}

#ifdef QVR_CAN_SINGLE_STEP
TEST(RandomReserveTest, HandlerThatForksBetweenFetchingAndTakingPartsTheProcesses) {
  struct Blocks {
    RandomBlock parents;
    RandomBlock childs;
  };
  const SharedMemory<Blocks> blocks;
  RandomReserve reserve;
  ForkWitness witness;
  RandomBlock block;
  pid_t child = -1;

  runInSingleSteps(
      [&] { reserve.take(witness, block); },
      [&] {
        if (child != -1 || !Access::hasFetched(reserve)) return;
        child = static_cast<pid_t>(syscall(SYS_clone, SIGCHLD, nullptr, nullptr, nullptr, nullptr));
      });

  ASSERT_NE(child, -1);
  (child == 0 ? blocks->childs : blocks->parents) = block;
  if (child == 0) _exit(0);
  EXPECT_EQ(waitpid(child, nullptr, 0), child);
  EXPECT_NE(blocks->childs, RandomBlock());
  EXPECT_NE(blocks->childs, blocks->parents);
}
#endif

}  // namespace
