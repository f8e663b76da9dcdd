// A block allocator where memory is refused, or whoever answers for the heap uses it.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <latch>
#include <new>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "BlockAllocatorAccess.h"
#include "BlockAllocatorModel.h"
#include "QVRBlockAllocator.h"
#include "support/AllocationRefuser.h"

namespace {

using Access = QVRBlockAllocatorTestAccess;

constexpr std::size_t kBlockSize = 65536;
constexpr std::size_t kBlocksPerSegment = 2;

/// An allocator whose segments are full.
class FullAllocator {
 public:
  explicit FullAllocator(std::size_t segments) {
    for (std::size_t i = 0; i < segments * kBlocksPerSegment; ++i) allocate();
  }

  void* allocate() {
    void* const block = allocator.allocate();
    blocks.push_back(block);
    return block;
  }

  void freeAll() {
    for (void* block : std::exchange(blocks, {})) allocator.deallocate(block);
  }

  QVRBlockAllocator allocator{kBlockSize};
  std::vector<void*> blocks;
};

/// Numbers of segments at which the array or the index grows, and others.
constexpr std::size_t kSegments[] = {0, 1, 3, 4, 7, 8, 15, 16, 31, 32, 63, 64, 65, 128};

TEST(QVRBlockAllocatorFailureTest, ConstructionNeedsMemory) {
  EXPECT_GE(refuseEachAllocation([] { const QVRBlockAllocator allocator(16); }), 1u);
}

TEST(QVRBlockAllocatorFailureTest, RefusedSegmentLeavesTheAllocatorAsItWas) {
  for (const std::size_t segments : kSegments) {
    SCOPED_TRACE(segments);
    FullAllocator full(segments);
    full.blocks.reserve(full.blocks.size() + 1);
    const std::string before = dumpOf(full.allocator);

    const std::size_t refusals =
        refuseEachAllocation([&] { full.allocate(); },
                             [&] {
                               EXPECT_EQ(dumpOf(full.allocator), before);
                               EXPECT_TRUE(Access::isValid(full.allocator));
                             });

    EXPECT_GE(refusals, 1u);
    EXPECT_TRUE(Access::isValid(full.allocator));
    full.freeAll();
    full.allocator.compact();
    EXPECT_EQ(dumpOf(full.allocator), BlockAllocatorModel(kBlockSize).dump(&full.allocator));
  }
}

TEST(QVRBlockAllocatorFailureTest, AfterARefusalBlocksComeFromWhereTheyWouldHave) {
  FullAllocator full(3);
  full.blocks.reserve(7);
  {
    const AllocationRefuser refuser(1);
    EXPECT_THROW(full.allocate(), std::bad_alloc);
  }

  full.allocator.deallocate(full.blocks[4]);
  full.allocator.deallocate(full.blocks[1]);

  EXPECT_EQ(full.allocator.allocate(), full.blocks[4]) << "from the segment remembered";
  EXPECT_EQ(full.allocator.allocate(), full.blocks[1]);
}

TEST(QVRBlockAllocatorFailureTest, OnlyANewSegmentNeedsMemory) {
  FullAllocator full(100);
  const AllocationRefuser refuser(0);

  for (void* block : full.blocks) full.allocator.deallocate(block);
  for (void*& block : full.blocks) block = full.allocator.allocate();
  for (std::size_t i = 0; i < full.blocks.size(); i += 3) {
    full.allocator.deallocate(full.blocks[i]);
  }
  full.allocator.compact();
  full.allocator.deallocate(nullptr);

  EXPECT_EQ(refuser.count(), 0u);
}

TEST(QVRBlockAllocatorFailureTest, SegmentWhoseBytesCannotBeCountedIsRefused) {
  for (const std::size_t blockSize : {SIZE_MAX, SIZE_MAX / 4 + 1, SIZE_MAX / 2}) {
    QVRBlockAllocator allocator(blockSize);
    const std::string before = dumpOf(allocator);

    EXPECT_THROW(allocator.allocate(), std::bad_alloc);

    EXPECT_EQ(dumpOf(allocator), before);
    EXPECT_TRUE(Access::isValid(allocator));
  }
}

/// Fills `segments` segments, then calls `action` at the allocation of that number on the
/// way to the next one.
/// @return whether there was such an allocation.
template <class Action>
bool actDuringGrowth(std::size_t segments, std::size_t number, Action action) {
  FullAllocator full(segments);
  full.blocks.reserve(full.blocks.size() + 1000);
  std::size_t allocations = 0;
  {
    const AllocationObserver observer([&](std::size_t) {
      if (++allocations == number) action(full);
    });
    full.allocate();
  }

  EXPECT_TRUE(Access::isValid(full.allocator)) << segments << " segments, " << number;
  full.freeAll();
  full.allocator.compact();
  EXPECT_EQ(dumpOf(full.allocator), BlockAllocatorModel(kBlockSize).dump(&full.allocator));
  return allocations >= number;
}

template <class Action>
void actDuringEachAllocation(Action action) {
  for (const std::size_t segments : kSegments) {
    std::size_t number = 1;
    while (actDuringGrowth(segments, number, action)) ++number;
    EXPECT_GT(number, 1u);
  }
}

TEST(QVRBlockAllocatorFailureTest, HeapMayFreeBlocksMeanwhile) {
  actDuringEachAllocation([](FullAllocator& full) {
    full.freeAll();
    EXPECT_TRUE(Access::isValid(full.allocator));
  });
}

TEST(QVRBlockAllocatorFailureTest, HeapMayCompactMeanwhile) {
  actDuringEachAllocation([](FullAllocator& full) {
    full.freeAll();
    full.allocator.compact();
    EXPECT_TRUE(Access::isValid(full.allocator));
  });
}

TEST(QVRBlockAllocatorFailureTest, HeapMayAllocateMeanwhile) {
  // Up to where the array is full again, and to where a level of the index must grow.
  for (const int count : {1, 2, 3, 9, 16, 17, 32, 33, 63, 64, 65, 69, 500}) {
    actDuringEachAllocation([count](FullAllocator& full) {
      for (int i = 0; i < count; ++i) full.allocate();
      EXPECT_TRUE(Access::isValid(full.allocator));
    });
  }
}

TEST(QVRBlockAllocatorFailureTest, OtherThreadsMayFreeAndCompactMeanwhile) {
  actDuringEachAllocation([](FullAllocator& full) {
    std::thread([&full] {
      full.freeAll();
      full.allocator.compact();
    }).join();
  });
}

TEST(QVRBlockAllocatorFailureTest, OtherThreadsMayAllocateMeanwhile) {
  for (const int count : {1, 2, 3, 17, 64, 130}) {
    actDuringEachAllocation([count](FullAllocator& full) {
      std::thread([&full, count] {
        for (int i = 0; i < count; ++i) full.allocate();
      }).join();
    });
  }
}

/// Allocates a block, and acts once when the heap is asked meanwhile.
template <class Action>
void* allocateActing(QVRBlockAllocator& allocator, Action action) {
  bool hasActed = false;
  const AllocationObserver observer([&](std::size_t) {
    if (!std::exchange(hasActed, true)) action();
  });
  return allocator.allocate();
}

/// Fetches the first block while `action` takes another one.
/// @return both, that of the action first.
template <class Action>
std::pair<void*, void*> fetchBeside(QVRBlockAllocator& allocator, Action action) {
  void* first = nullptr;
  void* const second = allocateActing(allocator, [&] { first = action(allocator); });
  return {first, second};
}

TEST(QVRBlockAllocatorFailureTest, SegmentOfAnotherThreadMakesTheOwnOneNeedless) {
  QVRBlockAllocator allocator(kBlockSize);

  const auto [first, second] = fetchBeside(allocator, [](QVRBlockAllocator& used) {
    void* block = nullptr;
    std::thread([&] { block = used.allocate(); }).join();
    return block;
  });

  EXPECT_EQ(second, static_cast<unsigned char*>(first) + kBlockSize);
  BlockAllocatorModel model(kBlockSize);
  for (int i = 0; i < 2; ++i) model.allocate([&] { return lastSegmentOf(dumpOf(allocator)); });
  EXPECT_EQ(dumpOf(allocator), model.dump(&allocator));
}

TEST(QVRBlockAllocatorFailureTest, SegmentOfTheSameThreadIsAnotherOne) {
  QVRBlockAllocator allocator(kBlockSize);

  const auto [first, second] =
      fetchBeside(allocator, [](QVRBlockAllocator& used) { return used.allocate(); });

  EXPECT_EQ(second, lastSegmentOf(dumpOf(allocator)));
  EXPECT_NE(second, first);
  EXPECT_EQ(allocator.allocate(), static_cast<unsigned char*>(second) + kBlockSize);
  EXPECT_EQ(allocator.allocate(), static_cast<unsigned char*>(first) + kBlockSize);
}

TEST(QVRBlockAllocatorFailureTest, SegmentOfAnotherThreadServesAllThatAskedForOne) {
  QVRBlockAllocator allocator(kBlockSize);
  std::latch otherAsks(1);
  std::latch bothAsk(1);
  void* blockOfOther = nullptr;
  std::thread other([&] {
    blockOfOther = allocateActing(allocator, [&] {
      otherAsks.count_down();
      bothAsk.wait();
    });
  });
  otherAsks.wait();

  void* const block = allocateActing(allocator, [&] {
    bothAsk.count_down();
    other.join();
  });

  EXPECT_EQ(blockOfOther, lastSegmentOf(dumpOf(allocator)));
  EXPECT_EQ(block, static_cast<unsigned char*>(blockOfOther) + kBlockSize);
}

TEST(QVRBlockAllocatorFailureTest, BlocksThatTheHeapFreedDoNotMakeTheSegmentNeedless) {
  FullAllocator full(0);
  std::thread([&full] {  // the last before this thread to find no room
    for (std::size_t i = 0; i < kBlocksPerSegment; ++i) full.allocate();
  })
      .join();
  const unsigned char* const older = lastSegmentOf(dumpOf(full.allocator));

  void* const block = allocateActing(full.allocator, [&] { full.freeAll(); });

  const unsigned char* const younger = lastSegmentOf(dumpOf(full.allocator));
  EXPECT_NE(younger, older);
  EXPECT_EQ(block, younger);
}

TEST(QVRBlockAllocatorFailureTest, HeapMayCompactTheAllocatorsOfOtherThreads) {
  QVRBlockAllocator allocators[2] = {QVRBlockAllocator(kBlockSize), QVRBlockAllocator(kBlockSize)};
  std::latch bothAskTheHeap(2);
  const auto grow = [&](QVRBlockAllocator& grown) {
    bool hasMet = false;
    const AllocationObserver observer([&](std::size_t) {
      if (!std::exchange(hasMet, true)) bothAskTheHeap.arrive_and_wait();
      for (QVRBlockAllocator& allocator : allocators) allocator.compact();
    });
    grown.allocate();
  };

  std::thread other([&] { grow(allocators[0]); });
  grow(allocators[1]);
  other.join();

  for (const QVRBlockAllocator& allocator : allocators) EXPECT_TRUE(Access::isValid(allocator));
}

TEST(QVRBlockAllocatorFailureTest, NewHandlerMayCompactBeforeItGivesUp) {
  static FullAllocator* current = nullptr;
  for (const std::size_t segments : kSegments) {
    FullAllocator full(segments);
    current = &full;
    full.blocks.reserve(full.blocks.size() + 1);
    const std::new_handler before = std::set_new_handler([] {
      current->freeAll();
      current->allocator.compact();
    });

    refuseEachAllocation([&] { full.allocate(); },
                         [&] { EXPECT_TRUE(Access::isValid(full.allocator)); });

    std::set_new_handler(before);
    EXPECT_TRUE(Access::isValid(full.allocator));
  }
}

}  // namespace
