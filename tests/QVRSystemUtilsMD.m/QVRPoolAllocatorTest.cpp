// Which size goes to which bucket, what switches a pool off, and the pool of the process.
#include "QVRPoolAllocator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <latch>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "BlockAllocatorModel.h"
#include "BlockStamp.h"
#include "PoolAllocatorAccess.h"
#include "support/AddressSanitizer.h"
#include "support/AllocationRefuser.h"
#include "support/AssertRecorder.h"
#include "support/ForkedChild.h"
#include "support/ScopedEnvironment.h"
#include "support/TestSeed.h"

namespace {

using Access = QVRPoolAllocatorTestAccess;

constexpr std::size_t kBuckets = 128;
constexpr std::size_t kLargest = 7680;

/// The rows of the table of size classes.
struct Row {
  std::size_t firstIndex;
  std::size_t lastIndex;
  std::size_t step;
  std::size_t firstSize;
  std::size_t lastSize;
};
constexpr Row kRows[] = {{0, 31, 16, 1, 512},
                         {32, 63, 32, 513, 1536},
                         {64, 95, 64, 1537, 3584},
                         {96, 127, 128, 3585, 7680}};

/// The dump of each bucket.
std::vector<std::string> bucketDumps(const QVRPoolAllocator& pool) {
  const std::string text = dumpOf(pool);
  std::vector<std::string> dumps;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find("Block ", begin + 1), text.size());
    dumps.push_back(text.substr(begin, end - begin));
    begin = end;
  }
  return dumps;
}

/// The indices of the buckets that have segments.
std::vector<std::size_t> bucketsInUse(const QVRPoolAllocator& pool) {
  const auto dumps = bucketDumps(pool);
  std::vector<std::size_t> indices;
  for (std::size_t i = 0; i < dumps.size(); ++i) {
    if (dumps[i].find("Segment") != std::string::npos) indices.push_back(i);
  }
  return indices;
}

/// What an action asks of the heap, in bytes.
template <class Action>
std::vector<std::size_t> sizesAskedFor(Action action) {
  std::vector<std::size_t> sizes;
  const AllocationObserver observer([&](std::size_t size) { sizes.push_back(size); });
  action();
  return sizes;
}

TEST(QVRPoolAllocatorTest, EverySizeHasTheBucketOfItsRow) {
  EXPECT_EQ(Access::indexOf(0), 0u);
  for (const Row& row : kRows) {
    std::size_t index = row.firstIndex;
    std::size_t limit = row.firstSize - 1 + row.step;
    for (std::size_t size = row.firstSize; size <= row.lastSize; ++size) {
      if (size > limit) {
        ++index;
        limit += row.step;
      }
      ASSERT_EQ(Access::indexOf(size), index) << size;
      ASSERT_EQ(Access::sizeOf(index), limit) << index;
    }
    EXPECT_EQ(index, row.lastIndex);
    EXPECT_EQ(limit, row.lastSize);
  }
}

TEST(QVRPoolAllocatorTest, EdgesOfTheRowsAreWhereTheyAre) {
  const std::pair<std::size_t, std::size_t> cases[] = {
      {0, 0},     {1, 0},     {16, 0},    {17, 1},    {512, 31},  {513, 32},
      {544, 32},  {545, 33},  {1536, 63}, {1537, 64}, {1600, 64}, {1601, 65},
      {3584, 95}, {3585, 96}, {3712, 96}, {3713, 97}, {7680, 127}};
  for (const auto& [size, index] : cases) EXPECT_EQ(Access::indexOf(size), index) << size;

  const std::pair<std::size_t, std::size_t> sizes[] = {
      {0, 16}, {31, 512}, {32, 544}, {63, 1536}, {64, 1600}, {95, 3584}, {96, 3712}, {127, 7680}};
  for (const auto& [index, size] : sizes) EXPECT_EQ(Access::sizeOf(index), size) << index;
}

TEST(QVRPoolAllocatorTest, IndexPastTheBucketsIsReported) {
  for (const std::size_t index : {std::size_t{128}, std::size_t{129}, SIZE_MAX}) {
    const AssertRecorder asserts;

    EXPECT_EQ(Access::sizeOf(index), 7681u);

    const AssertRecord expected{"Program error", "Invalid Bucket Index",
                                "QVRSystem/QVRSystemUtilsMD.m/src/QVRPoolAllocator", 59};
    EXPECT_EQ(asserts.only(), expected);
  }
}

TEST(QVRPoolAllocatorTest, EverySizeIsServedAndTakenBackByItsBucket) {
  QVRPoolAllocator pool;
  const AssertRecorder asserts;

  for (std::size_t size = 0; size <= kLargest + 2; ++size) {
    auto* const memory = static_cast<unsigned char*>(pool.allocate(size));
    ASSERT_NE(memory, nullptr);
    ASSERT_EQ(reinterpret_cast<std::uintptr_t>(memory) % 16, 0u);
    std::fill(memory, memory + size, 'x');
    pool.deallocate(memory, size);
  }

  EXPECT_TRUE(asserts.all().empty());
  EXPECT_EQ(bucketsInUse(pool).size(), kBuckets);
}

TEST(QVRPoolAllocatorTest, EachSizeUsesItsBucketAlone) {
  for (const std::size_t size : {0u, 1u, 16u, 17u, 512u, 513u, 1536u, 1537u, 3584u, 3585u, 7680u}) {
    QVRPoolAllocator pool;

    pool.deallocate(pool.allocate(size), size);

    EXPECT_EQ(bucketsInUse(pool), std::vector{Access::indexOf(size)}) << size;
  }
}

TEST(QVRPoolAllocatorTest, LargerSizesAreTheHeaps) {
  QVRPoolAllocator pool;

  const auto sizes = sizesAskedFor([&] {
    for (const std::size_t size : {7681u, 100000u}) pool.deallocate(pool.allocate(size), size);
  });

  EXPECT_EQ(sizes, (std::vector<std::size_t>{7681, 100000}));
  EXPECT_TRUE(bucketsInUse(pool).empty());
}

TEST(QVRPoolAllocatorTest, HeapSeesBucketsInTheirSize) {
  const auto sizes = sizesAskedFor([] { const QVRPoolAllocator pool; });

  EXPECT_EQ(std::count(sizes.begin(), sizes.end(), sizeof(QVRBlockAllocator)), 128);
}

TEST(QVRPoolAllocatorTest, HeapSeesSegmentsInTheirSizes) {
  QVRPoolAllocator pool;
  for (std::size_t i = 0; i < kBuckets; ++i) {
    const std::size_t blockSize = Access::sizeOf(i);
    const std::size_t segment = std::min<std::size_t>(131072 / blockSize, 255) * blockSize;

    const auto sizes = sizesAskedFor([&] { pool.deallocate(pool.allocate(blockSize), blockSize); });

    EXPECT_EQ(std::count(sizes.begin(), sizes.end(), segment), 1) << blockSize;
  }
}

TEST(QVRPoolAllocatorTest, NullIsIgnoredWhateverTheSize) {
  QVRPoolAllocator pool;
  const AssertRecorder asserts;

  for (const std::size_t size : {0u, 16u, 7680u, 7681u}) pool.deallocate(nullptr, size);

  EXPECT_TRUE(asserts.all().empty());
}

TEST(QVRPoolAllocatorTest, BlockOfAnotherBucketIsReportedAndLeftAlone) {
  QVRPoolAllocator pool;
  auto* const memory = static_cast<unsigned char*>(pool.allocate(64));
  stamp(memory, 64);
  const std::string before = dumpOf(pool);
  const AssertRecorder asserts;

  pool.deallocate(memory, 65);

  const AssertRecord expected{"Program error", "Deallocation segment not found",
                              "QVRSystem/QVRSystemUtilsMD.m/src/QVRBlockAllocator", 401};
  EXPECT_EQ(asserts.only(), expected);
  EXPECT_TRUE(bearsStamp(memory, 64));
  EXPECT_EQ(dumpOf(pool), before);
}

TEST(QVRPoolAllocatorTest, EnvironmentSwitchesItOnAndOff) {
  const struct {
    const char* value;
    bool enabled;
  } cases[] = {{nullptr, true}, {"on", true},        {"ON", true},   {"oN", true},
               {"off", false},  {"OFF", false},      {"Off", false}, {"oFf", false},
               {"", true},      {"o", true},         {"of", true},   {"off ", true},
               {" off", true},  {"offf", true},      {"0", true},    {"false", true},
               {"no", true},    {"o\xC6\x92", true}, {"/&&", true},  {"OF\xE6", true}};
  for (const auto& c : cases) {
    const ScopedEnvironment setting("QVRPoolAllocator", c.value);
    EXPECT_EQ(QVRPoolAllocator().isEnabled(), c.enabled) << (c.value ? c.value : "unset");
  }
}

TEST(QVRPoolAllocatorTest, PoolThatIsOffLeavesEveryRequestToTheHeap) {
  const ScopedEnvironment setting("QVRPoolAllocator", "OFF");
  QVRPoolAllocator pool;

  const auto sizes = sizesAskedFor([&] {
    for (const std::size_t size : {0u, 16u, 64u, 7680u, 7681u}) {
      pool.deallocate(pool.allocate(size), size);
    }
    pool.compact();
  });

  EXPECT_EQ(sizes, (std::vector<std::size_t>{0, 16, 64, 7680, 7681}));
  EXPECT_TRUE(bucketsInUse(pool).empty());
}

TEST(QVRPoolAllocatorTest, DumpTellsOfAllBucketsInTheirOrder) {
  QVRPoolAllocator pool;
  pool.deallocate(pool.allocate(20), 20);
  const auto dumps = bucketDumps(pool);

  ASSERT_EQ(dumps.size(), kBuckets);
  for (std::size_t i = 0; i < kBuckets; ++i) {
    const std::size_t size = Access::sizeOf(i);
    const std::size_t count = std::min<std::size_t>(131072 / size, 255);
    const std::string expected =
        " : Size = " + std::to_string(size) + ", Count = " + std::to_string(count) + "\n";
    EXPECT_NE(dumps[i].find(expected), std::string::npos) << dumps[i];
  }
  EXPECT_NE(dumps[1].find(" : Total = 255, Used = 0, Free = 255\n"), std::string::npos);
}

TEST(QVRPoolAllocatorTest, CompactionReachesEveryBucket) {
  QVRPoolAllocator pool;
  for (std::size_t i = 0; i < kBuckets; ++i) {
    pool.deallocate(pool.allocate(Access::sizeOf(i)), Access::sizeOf(i));
  }
  EXPECT_EQ(bucketsInUse(pool).size(), kBuckets);

  pool.compact();

  EXPECT_TRUE(bucketsInUse(pool).empty());
}

TEST(QVRPoolAllocatorTest, EachBucketFollowsThePlainModel) {
  std::mt19937_64 random(testSeed());
  QVRPoolAllocator pool;
  std::vector<BlockAllocatorModel> models;
  for (std::size_t i = 0; i < kBuckets; ++i) models.emplace_back(Access::sizeOf(i));
  struct Block {
    unsigned char* memory;
    std::size_t size;
  };
  std::vector<Block> live;

  for (int step = 0; step < 30000; ++step) {
    if (live.empty() || random() % 1000 < (step % 10000 < 6000 ? 700 : 300)) {
      const std::size_t size = random() % 2 == 0 ? random() % 200 : random() % (kLargest + 1);
      const std::size_t bucket = Access::indexOf(size);
      auto* const memory = static_cast<unsigned char*>(pool.allocate(size));
      ASSERT_EQ(memory,
                models[bucket].allocate([&] { return lastSegmentOf(bucketDumps(pool)[bucket]); }));
      stamp(memory, size);
      live.push_back({memory, size});
    } else {
      std::swap(live[random() % live.size()], live.back());
      const auto [memory, size] = live.back();
      live.pop_back();
      ASSERT_TRUE(bearsStamp(memory, size));
      pool.deallocate(memory, size);
      ASSERT_TRUE(models[Access::indexOf(size)].deallocate(memory));
    }
    if (step % 5000 == 4999) {
      pool.compact();
      for (BlockAllocatorModel& model : models) model.compact();
    }
    if (step % 1000 == 999) {
      const auto dumps = bucketDumps(pool);
      for (std::size_t i = 0; i < kBuckets; ++i) {
        void* address = nullptr;
        std::istringstream(dumps[i].substr(sizeof "Block")) >> address;
        ASSERT_EQ(dumps[i], models[i].dump(address));
      }
    }
  }
}

/// Threads that leave each other memory of all sizes in common places.
void exchangeMemory(QVRPoolAllocator& pool, int threads, int steps) {
  constexpr std::size_t kPlaces = 500;
  // The size of what lies in a place is fixed: a block carries no header.
  const auto sizeAt = [](std::size_t place) { return place * place % 8000 + 1; };
  std::array<std::atomic<unsigned char*>, kPlaces> places{};
  std::atomic<int> spoilt = 0;
  std::latch start(threads);
  const auto take = [&](std::size_t place, unsigned char* memory) {
    if (memory == nullptr) return;
    if (!bearsStamp(memory, sizeAt(place))) ++spoilt;
    pool.deallocate(memory, sizeAt(place));
  };
  const auto work = [&](unsigned seed) {
    std::minstd_rand random(seed);
    start.arrive_and_wait();
    for (int step = 0; step < steps; ++step) {
      const std::size_t place = random() % kPlaces;
      auto* const memory = static_cast<unsigned char*>(pool.allocate(sizeAt(place)));
      stamp(memory, sizeAt(place));
      take(place, places[place].exchange(memory));
      if (random() % 2000 == 0) pool.compact();
    }
  };

  const unsigned seed = testSeed();
  std::vector<std::thread> workers;
  for (int i = 0; i < threads; ++i) workers.emplace_back(work, seed + static_cast<unsigned>(i));
  for (std::thread& worker : workers) worker.join();
  for (std::size_t place = 0; place < kPlaces; ++place) take(place, places[place]);
  pool.compact();

  EXPECT_EQ(spoilt, 0);
}

TEST(QVRPoolAllocatorTest, ThreadsFreeEachOthersMemory) {
  for (const int threads : {2, 8, 64}) {
    QVRPoolAllocator pool;
    exchangeMemory(pool, threads, 40000 / threads);
    EXPECT_TRUE(bucketsInUse(pool).empty());
  }
}

TEST(QVRPoolAllocatorTest, GlobalIsOnePool) {
  QVRPoolAllocator* ofAnotherThread = nullptr;
  std::thread([&] { ofAnotherThread = &QVRPoolAllocator::Global(); }).join();

  EXPECT_EQ(&QVRPoolAllocator::Global(), ofAnotherThread);
}

// The sanitizer's heap is of no use in the child where another thread was in it.
#if defined(QVR_TEST_SANITIZES_ADDRESSES)
constexpr bool kHeapOutlivesForks = false;
#else
constexpr bool kHeapOutlivesForks = true;
#endif

void useFirstBuckets(QVRPoolAllocator& pool) {
  for (std::size_t bucket = 0; bucket < 8; ++bucket) {
    const std::size_t size = Access::sizeOf(bucket);
    pool.deallocate(pool.allocate(size), size);
  }
}

TEST(QVRPoolAllocatorTest, ChildOfAForkUsesTheGlobalPoolThatOthersWereUsing) {
  constexpr int kUsers = 3;
  QVRPoolAllocator& pool = QVRPoolAllocator::Global();
  useFirstBuckets(pool);
  std::latch allUseIt(kUsers + 1);
  std::atomic<bool> stop = false;
  std::vector<std::thread> users;
  for (int i = 0; i < kUsers; ++i) {
    users.emplace_back([&] {
      allUseIt.arrive_and_wait();
      while (!stop) {
        useFirstBuckets(pool);
        if (kHeapOutlivesForks) pool.compact();
      }
    });
  }
  allUseIt.arrive_and_wait();

  for (int i = 0; i < 50; ++i) {
    EXPECT_EQ(exitStatusOfFork([&] {
                for (std::size_t bucket = 0; bucket < kBuckets; ++bucket) {
                  const std::size_t size = Access::sizeOf(bucket);
                  pool.deallocate(pool.allocate(size), size);
                }
                return bucketsInUse(pool).size() == kBuckets ? 0 : 1;
              }),
              0);
  }

  stop = true;
  for (std::thread& user : users) user.join();
}

TEST(QVRPoolAllocatorTest, ForkDoesNotWaitForTheHeap) {
  QVRPoolAllocator& pool = QVRPoolAllocator::Global();
  std::latch asksTheHeap(1);
  std::latch hasForked(1);
  std::thread user([&] {
    bool hasWaited = false;
    const AllocationObserver observer([&](std::size_t) {
      if (std::exchange(hasWaited, true)) return;
      asksTheHeap.count_down();
      hasForked.wait();
      pool.compact();
    });
    std::array<void*, 1000> blocks{};
    std::size_t count = 0;
    while (!hasWaited) blocks.at(count++) = pool.allocate(kLargest);
    for (void* block : blocks) pool.deallocate(block, kLargest);
  });
  asksTheHeap.wait();

  EXPECT_EQ(exitStatusOfFork([&] {
              pool.deallocate(pool.allocate(kLargest), kLargest);
              pool.compact();
              return 0;
            }),
            0);

  hasForked.count_down();
  user.join();
}

}  // namespace
