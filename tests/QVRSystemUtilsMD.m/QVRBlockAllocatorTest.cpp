// Which block a request gets, when segments come and go, and what misuse does.
#include "QVRBlockAllocator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <latch>
#include <locale>
#include <memory>
#include <ostream>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "BlockAllocatorModel.h"
#include "BlockStamp.h"
#include "QVRAssert.h"
#include "support/AddressSanitizer.h"
#include "support/AssertRecorder.h"
#include "support/FlushedBuffer.h"
#include "support/TestSeed.h"

#if defined(QVR_TEST_SANITIZES_ADDRESSES)
#include <sanitizer/asan_interface.h>
#endif

namespace {

const AssertRecord kForeignBlock{"Program error", "Deallocation segment not found",
                                 "QVRSystem/QVRSystemUtilsMD.m/src/QVRBlockAllocator", 401};

/// Segments in use: the lines of the dump below its heading.
long segmentCount(const QVRBlockAllocator& allocator) {
  const std::string text = dumpOf(allocator);
  return std::count(text.begin(), text.end(), '\n') - 1;
}

std::vector<unsigned char*> allocateMany(QVRBlockAllocator& allocator, std::size_t count) {
  std::vector<unsigned char*> blocks(count);
  for (auto& block : blocks) block = static_cast<unsigned char*>(allocator.allocate());
  return blocks;
}

void deallocateAll(QVRBlockAllocator& allocator, const std::vector<unsigned char*>& blocks) {
  for (unsigned char* block : blocks) allocator.deallocate(block);
}

/// An allocator and its model, led through the same steps.
class Comparison {
 public:
  Comparison(std::size_t blockSize, unsigned seed)
      : blockSize_(blockSize), allocator_(blockSize), model_(blockSize), random_(seed) {}

  ~Comparison() {
    for (unsigned char* block : live_) allocator_.deallocate(block);
  }

  void run(int steps, std::size_t mostLive) {
    for (int step = 0; step < steps; ++step) {
      if (step % 1000 == 0) changeHabits(mostLive);
      if (step % 100 == 0) expectSameDump();
      takeStep();
      if (testing::Test::HasFatalFailure()) return;
    }
    expectSameDump();
  }

 private:
  enum Order { AnyFirst, NewestFirst, OldestFirst, kOrders };

  std::size_t below(std::size_t limit) { return random_() % limit; }

  void changeHabits(std::size_t mostLive) {
    aimedAt_ = below(3) == 0 ? 0 : below(mostLive + 1);
    order_ = static_cast<Order>(below(kOrders));
  }

  void takeStep() {
    if (below(400) == 0) {
      allocator_.compact();
      model_.compact();
      return;
    }
    const bool towardsAim = below(10) < 8;
    if (live_.empty() || (live_.size() < aimedAt_) == towardsAim) {
      allocate();
    } else {
      deallocate();
    }
  }

  void allocate() {
    auto* const block = static_cast<unsigned char*>(allocator_.allocate());
    ASSERT_EQ(block, model_.allocate([this] { return lastSegmentOf(dumpOf(allocator_)); }));
    stamp(block, blockSize_);
    live_.push_back(block);
  }

  void deallocate() {
    const std::size_t at = order_ == AnyFirst      ? below(live_.size())
                           : order_ == NewestFirst ? live_.size() - 1
                                                   : 0;
    unsigned char* const block = live_[at];
    live_.erase(live_.begin() + static_cast<std::ptrdiff_t>(at));
    ASSERT_TRUE(bearsStamp(block, blockSize_));
    allocator_.deallocate(block);
    ASSERT_TRUE(model_.deallocate(block));
  }

  void expectSameDump() { ASSERT_EQ(dumpOf(allocator_), model_.dump(&allocator_)); }

  const std::size_t blockSize_;
  QVRBlockAllocator allocator_;
  BlockAllocatorModel model_;
  std::mt19937_64 random_;
  std::vector<unsigned char*> live_;
  std::size_t aimedAt_ = 0;
  Order order_ = AnyFirst;
};

TEST(QVRBlockAllocatorTest, FollowsThePlainModelWhateverTheOrder) {
  const unsigned seed = testSeed();
  for (const std::size_t blockSize :
       {1u,   2u,   3u,    7u,    8u,    15u,   16u,    17u,    24u,    40u,    64u,     100u,
        512u, 514u, 1000u, 4096u, 7680u, 9999u, 32768u, 43691u, 65536u, 65537u, 131071u, 131072u}) {
    SCOPED_TRACE(blockSize);
    Comparison(blockSize, seed).run(12000, std::min<std::size_t>(4000, 20000000 / blockSize));
  }
}

TEST(QVRBlockAllocatorTest, FollowsThePlainModelAboveTheSizeOfASegment) {
  const unsigned seed = testSeed();
  for (const std::size_t blockSize : {131073u, 200000u, 1000003u}) {
    SCOPED_TRACE(blockSize);
    Comparison(blockSize, seed).run(3000, 60);
  }
}

TEST(QVRBlockAllocatorTest, SegmentsHoldAsManyBlocksAsTheirBytesAndOneByteAllow) {
  const struct {
    std::size_t blockSize;
    const char* count;
  } cases[] = {{1, "255"},    {16, "255"},    {514, "255"}, {515, "254"},
               {4096, "32"},  {65536, "2"},   {65537, "1"}, {131072, "1"},
               {131073, "4"}, {1000000, "4"}, {43690, "3"}, {43691, "2"}};
  for (const auto& c : cases) {
    const QVRBlockAllocator allocator(c.blockSize);
    const std::string dump = dumpOf(allocator);
    EXPECT_EQ(dump.substr(dump.find(", Count = ")), std::string(", Count = ") + c.count + "\n")
        << c.blockSize;
  }
}

TEST(QVRBlockAllocatorTest, Block256OpensTheSecondSegment) {
  QVRBlockAllocator allocator(16);
  EXPECT_EQ(segmentCount(allocator), 0);
  allocateMany(allocator, 255);
  EXPECT_EQ(segmentCount(allocator), 1);

  allocator.allocate();
  EXPECT_EQ(segmentCount(allocator), 2);
}

TEST(QVRBlockAllocatorTest, BlocksOfANewSegmentLieSideBySide) {
  QVRBlockAllocator allocator(48);

  const auto blocks = allocateMany(allocator, 255);

  for (std::size_t i = 0; i < blocks.size(); ++i) EXPECT_EQ(blocks[i], blocks[0] + 48 * i);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(blocks[0]) % 16, 0u);
}

TEST(QVRBlockAllocatorTest, BlockFreedLastIsServedFirst) {
  QVRBlockAllocator allocator(32);
  const auto blocks = allocateMany(allocator, 10);

  for (const std::size_t i : {3u, 7u, 5u}) allocator.deallocate(blocks[i]);

  for (const std::size_t i : {5u, 7u, 3u}) EXPECT_EQ(allocator.allocate(), blocks[i]);
  EXPECT_EQ(allocator.allocate(), blocks[0] + 10 * 32);
}

TEST(QVRBlockAllocatorTest, SegmentThatServedLastGoesBeforeAnOlderOneWithRoom) {
  QVRBlockAllocator allocator(16);
  const auto blocks = allocateMany(allocator, 256);

  allocator.deallocate(blocks[0]);

  EXPECT_EQ(allocator.allocate(), blocks[255] + 16);
}

TEST(QVRBlockAllocatorTest, OldestSegmentWithRoomFollowsAFullOne) {
  QVRBlockAllocator allocator(65536);  // 2 blocks per segment
  const auto blocks = allocateMany(allocator, 8);
  for (const std::size_t i : {5u, 2u, 3u}) allocator.deallocate(blocks[i]);

  for (const std::size_t i : {3u, 2u, 5u}) EXPECT_EQ(allocator.allocate(), blocks[i]);
  EXPECT_EQ(segmentCount(allocator), 4);
}

TEST(QVRBlockAllocatorTest, DeallocationKeepsSegmentsAndCompactionFreesUnusedOnes) {
  QVRBlockAllocator allocator(65536);
  const auto blocks = allocateMany(allocator, 6);
  for (const std::size_t i : {0u, 1u, 2u, 4u, 5u}) allocator.deallocate(blocks[i]);
  EXPECT_EQ(segmentCount(allocator), 3);

  allocator.compact();
  EXPECT_EQ(segmentCount(allocator), 1);
  EXPECT_EQ(allocator.allocate(), blocks[2]);

  allocator.deallocate(blocks[2]);
  allocator.deallocate(blocks[3]);
  allocator.compact();
  EXPECT_EQ(segmentCount(allocator), 0);
  EXPECT_NE(allocator.allocate(), nullptr);
}

TEST(QVRBlockAllocatorTest, AfterCompactionTheYoungestSegmentServesFirst) {
  QVRBlockAllocator allocator(65536);
  const auto blocks = allocateMany(allocator, 6);
  for (const std::size_t i : {4u, 0u}) allocator.deallocate(blocks[i]);
  EXPECT_EQ(allocator.allocate(), blocks[4]);
  EXPECT_EQ(allocator.allocate(), blocks[0]);
  for (const std::size_t i : {4u, 0u}) allocator.deallocate(blocks[i]);

  allocator.compact();

  EXPECT_EQ(allocator.allocate(), blocks[4]);
  EXPECT_EQ(allocator.allocate(), blocks[0]);
}

TEST(QVRBlockAllocatorTest, ManySegmentsAreCompactedAtOnce) {
  QVRBlockAllocator allocator(16);
  auto blocks = allocateMany(allocator, 255 * 2000);
  std::vector<unsigned char*> kept;
  for (std::size_t segment = 0; segment < 2000; segment += 100) {
    kept.push_back(blocks[segment * 255 + segment % 255]);
  }
  for (unsigned char* block : kept) std::erase(blocks, block);

  std::shuffle(blocks.begin(), blocks.end(), std::mt19937(testSeed()));
  deallocateAll(allocator, blocks);
  allocator.compact();
  EXPECT_EQ(segmentCount(allocator), 20);

  deallocateAll(allocator, kept);
  allocator.compact();
  EXPECT_EQ(segmentCount(allocator), 0);
}

TEST(QVRBlockAllocatorTest, DumpIsDecimalWhateverTheStreamSays) {
  struct Grouping : std::numpunct<char> {
    std::string do_grouping() const override { return "\1"; }
  };
  QVRBlockAllocator allocator(4096);
  const auto* const block = static_cast<unsigned char*>(allocator.allocate());
  std::ostringstream expected;
  std::ostringstream out;
  for (std::ostringstream* const stream : {&expected, &out}) {
    stream->imbue(std::locale(stream->getloc(), new Grouping));
    *stream << std::hex << std::showbase;
  }

  expected << "Block " << &allocator << " : Size = 4096, Count = 32\n    Segment "
           << static_cast<const void*>(block) << " : Total = 32, Used = 1, Free = 31\n";
  allocator.dump(out);

  EXPECT_EQ(out.str(), expected.str());
}

TEST(QVRBlockAllocatorTest, DumpFlushesEachLine) {
  QVRBlockAllocator allocator(16);
  allocateMany(allocator, 256);
  FlushedBuffer buffer;
  std::ostream out(&buffer);

  allocator.dump(out);

  EXPECT_EQ(buffer.flushes, 3);
}

TEST(QVRBlockAllocatorTest, NullIsIgnored) {
  QVRBlockAllocator allocator(16);
  const AssertRecorder asserts;

  allocator.deallocate(nullptr);
  allocator.allocate();
  allocator.deallocate(nullptr);

  EXPECT_TRUE(asserts.all().empty());
}

TEST(QVRBlockAllocatorTest, ForeignBlockIsReportedAndLeftAlone) {
  QVRBlockAllocator allocator(16);
  for (int i = 0; i < 2; ++i) {  // without a segment, and with one
    char foreign[32];
    std::fill(std::begin(foreign), std::end(foreign), 'x');
    const std::string before = dumpOf(allocator);
    const AssertRecorder asserts;  // replaces the handler within this scope

    allocator.deallocate(foreign + 8);

    EXPECT_EQ(asserts.only(), kForeignBlock);
    EXPECT_EQ(std::count(std::begin(foreign), std::end(foreign), 'x'), 32);
    EXPECT_EQ(dumpOf(allocator), before);
    EXPECT_NE(allocator.allocate(), nullptr);
  }
}

TEST(QVRBlockAllocatorTest, BytesOnBothSidesOfASegmentAreForeign) {
  QVRBlockAllocator allocator(16);
  const auto blocks = allocateMany(allocator, 255);
  const std::string before = dumpOf(allocator);

  for (unsigned char* const foreign : {blocks[0] - 1, blocks[254] + 16}) {
    const AssertRecorder asserts;
    allocator.deallocate(foreign);
    EXPECT_EQ(asserts.only(), kForeignBlock);
  }
  EXPECT_EQ(dumpOf(allocator), before);
}

TEST(QVRBlockAllocatorTest, PointerIntoABlockFreesThatBlockAlone) {
  QVRBlockAllocator allocator(32);
  const auto blocks = allocateMany(allocator, 2);
  std::fill(blocks[0], blocks[0] + 32, 77);  // no index of a block to come
  stamp(blocks[1], 32);

  allocator.deallocate(blocks[0] + 5);

  EXPECT_TRUE(bearsStamp(blocks[1], 32));
  EXPECT_EQ(allocator.allocate(), blocks[0]);
  EXPECT_EQ(allocator.allocate(), blocks[1] + 32);
}

TEST(QVRBlockAllocatorTest, HandlerOfAForeignBlockMayUseTheAllocator) {
  static QVRBlockAllocator* used = nullptr;
  static void* served = nullptr;
  QVRBlockAllocator allocator(16);
  used = &allocator;
  char foreign = 'x';
  const QVRAssertHandler before =
      QVRSetAssertHandler([](auto...) { std::thread([] { served = used->allocate(); }).join(); });

  allocator.deallocate(&foreign);

  QVRSetAssertHandler(before);
  EXPECT_NE(served, nullptr);
}

/// Threads that leave each other blocks in common places, and free what they find there.
void exchangeBlocks(int threads, int steps) {
  constexpr std::size_t kBlockSize = 64;
  QVRBlockAllocator allocator(kBlockSize);
  std::vector<std::atomic<unsigned char*>> places(500);
  std::atomic<int> spoilt = 0;
  std::latch start(threads);
  const auto take = [&](unsigned char* block) {
    if (block == nullptr) return;
    if (!bearsStamp(block, kBlockSize)) ++spoilt;
    allocator.deallocate(block);
  };
  const auto work = [&](unsigned seed) {
    std::minstd_rand random(seed);
    start.arrive_and_wait();
    for (int step = 0; step < steps; ++step) {
      auto* const block = static_cast<unsigned char*>(allocator.allocate());
      stamp(block, kBlockSize);
      take(places[random() % places.size()].exchange(block));
      if (random() % 1000 == 0) allocator.compact();
    }
  };

  const unsigned seed = testSeed();
  std::vector<std::thread> workers;
  for (int i = 0; i < threads; ++i) workers.emplace_back(work, seed + static_cast<unsigned>(i));
  for (std::thread& worker : workers) worker.join();
  for (auto& place : places) take(place);
  allocator.compact();

  EXPECT_EQ(spoilt, 0);
  EXPECT_EQ(segmentCount(allocator), 0);
}

TEST(QVRBlockAllocatorTest, ThreadsFreeEachOthersBlocks) {
  for (const int threads : {2, 4, 16, 64}) exchangeBlocks(threads, 80000 / threads);
}

#if defined(QVR_TEST_SANITIZES_ADDRESSES)

TEST(QVRBlockAllocatorTest, EveryByteOfAFreeBlockIsPoisoned) {
  for (const std::size_t blockSize : {16u, 48u, 7680u}) {
    QVRBlockAllocator allocator(blockSize);
    const auto blocks = allocateMany(allocator, 3);
    EXPECT_EQ(__asan_region_is_poisoned(blocks[0], 3 * blockSize), nullptr);

    allocator.deallocate(blocks[1]);

    for (std::size_t i = 0; i < blockSize; ++i) {
      EXPECT_TRUE(__asan_address_is_poisoned(blocks[1] + i)) << i;
    }
    EXPECT_EQ(__asan_region_is_poisoned(blocks[0], blockSize), nullptr);
    EXPECT_EQ(__asan_region_is_poisoned(blocks[2], blockSize), nullptr);
    EXPECT_TRUE(__asan_address_is_poisoned(blocks[2] + blockSize)) << "never served";

    EXPECT_EQ(allocator.allocate(), blocks[1]);
    EXPECT_EQ(__asan_region_is_poisoned(blocks[0], 3 * blockSize), nullptr);
  }
}

TEST(QVRBlockAllocatorDeathTest, StorageOfFreedSegmentsIsNotPoisoned) {
  auto allocator = std::make_unique<QVRBlockAllocator>(16);
  auto* const compacted = static_cast<unsigned char*>(allocator->allocate());
  allocator->deallocate(compacted);
  allocator->compact();
  auto* const freed = static_cast<unsigned char*>(allocator->allocate());
  allocator.reset();

  // The heap's own mark of freed memory tells of another mistake.
  EXPECT_DEATH(compacted[0] = 'x', "heap-use-after-free");
  EXPECT_DEATH(freed[0] = 'x', "heap-use-after-free");
}

TEST(QVRBlockAllocatorDeathTest, UseAfterFreeIsReported) {
  QVRBlockAllocator allocator(64);
  auto* const block = static_cast<volatile unsigned char*>(allocator.allocate());
  allocator.deallocate(const_cast<unsigned char*>(block));

  EXPECT_DEATH(static_cast<void>(block[0]), "use-after-poison");
  EXPECT_DEATH(block[63] = 'x', "use-after-poison");
  EXPECT_DEATH(allocator.deallocate(const_cast<unsigned char*>(block)), "use-after-poison");
}

#endif

}  // namespace
