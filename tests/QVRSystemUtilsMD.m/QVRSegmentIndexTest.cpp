// That segments are found where they lie, and the first with room is the first.
#include "QVRSystem/QVRSystemUtilsMD.m/src/QVRSegmentIndex.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
#include <random>
#include <set>
#include <vector>

#include "support/TestSeed.h"

namespace {

using qvr::internal::NumberSet;
using qvr::internal::RangeMap;
using qvr::internal::SegmentIndex;

constexpr std::size_t kNone = RangeMap::kNone;

/// Ranges need no memory behind them.
const void* at(std::uintptr_t address) { return reinterpret_cast<const void*>(address); }

/// Ranges by number, looked up as the allocator does.
class Ranges {
 public:
  Ranges(std::size_t length, std::size_t count) : length_(length), map_(length, 2 * count) {}

  void add(std::uintptr_t begin) {
    map_.insert(at(begin), begins_.size());
    begins_.push_back(begin);
  }
  void clear() {
    map_.clear();
    begins_.clear();
  }
  std::size_t find(std::uintptr_t address) const {
    const std::size_t number = map_.candidate(at(address));
    return number != kNone && address - begins_.at(number) < length_ ? number : kNone;
  }

 private:
  const std::size_t length_;
  RangeMap map_;
  std::vector<std::uintptr_t> begins_;
};

TEST(NumberSetTest, EmptySetHasNoFirst) {
  for (const std::size_t capacity : {0u, 1u, 64u, 65u, 300000u}) {
    EXPECT_EQ(NumberSet(capacity).first(77), 77u) << capacity;
  }
}

TEST(NumberSetTest, HoldsAtLeastWhatItIsFor) {
  for (const std::size_t capacity : {1u, 63u, 64u, 65u, 4096u, 4097u, 262144u, 262145u}) {
    NumberSet set(capacity);
    EXPECT_GE(set.capacity(), capacity);

    set.insert(set.capacity() - 1);
    EXPECT_EQ(set.first(kNone), set.capacity() - 1);
    set.insert(0);
    EXPECT_EQ(set.first(kNone), 0u);
  }
}

TEST(NumberSetTest, FirstIsTheLeastOnBothSidesOfEachLevel) {
  constexpr std::size_t kMany = std::size_t{1} << 25;
  NumberSet set(kMany);
  const std::size_t numbers[] = {
      kMany - 1, 1 << 24, (1 << 24) - 1, 1 << 18, (1 << 18) - 1, 4096, 4095, 64, 63, 0};

  for (const std::size_t number : numbers) {
    set.insert(number);
    EXPECT_EQ(set.first(kNone), number);
  }
  for (std::size_t i = std::size(numbers); i-- > 0;) {
    EXPECT_EQ(set.first(kNone), numbers[i]);
    set.erase(numbers[i]);
  }
  EXPECT_EQ(set.first(kNone), kNone);
}

TEST(NumberSetTest, IsTheOrdinarySetInAnyOrder) {
  std::mt19937_64 random(testSeed());
  NumberSet set(0);
  std::set<std::size_t> model;
  std::size_t room = 0;

  for (int step = 0; step < 100000; ++step) {
    if (step % 10000 == 0) {
      set = NumberSet(room = room * 3 + 50);
      model.clear();
    }
    const std::size_t number = random() % room;
    if (step % 30011 == 30010) {
      set.clear();
      model.clear();
    } else if (random() % 3 == 0) {
      set.insert(number);
      model.insert(number);
    } else {
      const std::size_t erased = model.empty() ? number : *model.begin();
      set.erase(erased);
      model.erase(erased);
    }
    ASSERT_EQ(set.first(kNone), model.empty() ? kNone : *model.begin());
  }
}

TEST(RangeMapTest, EmptyMapFindsNothing) {
  for (const std::size_t groups : {0u, 1u, 20u}) {
    const RangeMap map(4080, groups);
    EXPECT_EQ(map.candidate(at(4096)), kNone) << groups;
    EXPECT_EQ(map.candidate(nullptr), kNone) << groups;
  }
}

TEST(RangeMapTest, RangesEndBeforeTheirEnd) {
  for (const std::size_t length : {1u, 4u, 255u, 256u, 257u, 4080u, 131072u, 131073u, 4000000u}) {
    for (const std::uintptr_t begin : {0x10000000u, 0x10000010u, 0x1001FFF0u, 0x1FFFFFFFu}) {
      Ranges ranges(length, 1);
      ranges.add(begin);

      EXPECT_EQ(ranges.find(begin - 1), kNone) << length;
      EXPECT_EQ(ranges.find(begin), 0u) << length;
      EXPECT_EQ(ranges.find(begin + length / 2), 0u) << length;
      EXPECT_EQ(ranges.find(begin + length - 1), 0u) << length;
      EXPECT_EQ(ranges.find(begin + length), kNone) << length;
    }
  }
}

/// Ranges at equal distances, their edges and the gaps between them.
void expectRegularRangesFound(std::size_t length, std::uintptr_t distance) {
  constexpr std::size_t kRanges = 3000;
  constexpr std::uintptr_t kBegin = 0x7F0000000010;
  Ranges ranges(length, kRanges);
  for (std::size_t i = 0; i < kRanges; ++i) ranges.add(kBegin + i * distance);

  for (std::size_t i = 0; i < kRanges; ++i) {
    const std::uintptr_t begin = kBegin + i * distance;
    EXPECT_EQ(ranges.find(begin), i);
    EXPECT_EQ(ranges.find(begin + length - 1), i);
    const std::size_t next = i + 1 < kRanges && distance == length ? i + 1 : kNone;
    EXPECT_EQ(ranges.find(begin + length), next);
  }
}

TEST(RangeMapTest, RegularRangesAreFound) {
  for (const std::size_t length : {255u, 4080u, 4096u, 130560u, 131072u, 400000u}) {
    for (const std::size_t gap : {0u, 16u, 4096u, 1u << 20u, 987u * 131072u}) {
      SCOPED_TRACE(testing::Message() << length << " bytes, gap " << gap);
      expectRegularRangesFound(length, length + gap);
    }
  }
}

TEST(RangeMapTest, ScatteredRangesAreFoundInAnyOrder) {
  std::mt19937_64 random(testSeed());
  constexpr std::size_t kLength = 4080;
  std::vector<std::uintptr_t> begins;
  for (std::uintptr_t begin = 0x5500000010; begins.size() < 5000;) {
    begins.push_back(begin);
    begin += kLength + random() % 3 * 16 + (random() % 50 == 0 ? random() % (1 << 30) : 0);
  }
  std::shuffle(begins.begin(), begins.end(), random);

  Ranges ranges(kLength, begins.size());
  for (const std::uintptr_t begin : begins) ranges.add(begin);

  for (std::size_t i = 0; i < begins.size(); ++i) {
    ASSERT_EQ(ranges.find(begins[i] + random() % kLength), i);
  }
}

TEST(RangeMapTest, ClearedMapIsEmptyAndHasRoom) {
  Ranges ranges(16, 2);
  ranges.add(0x1008);

  ranges.clear();

  EXPECT_EQ(ranges.find(0x1008), kNone);
  EXPECT_EQ(ranges.find(0x1010), kNone);
  ranges.add(0x2000);
  EXPECT_EQ(ranges.find(0x2000), 0u);
}

TEST(RangeMapTest, MoreRangesThanItCanNumberAreRefused) {
  const RangeMap map(16, 0);

  EXPECT_THROW(map.groupsFor(kNone), std::bad_alloc);
}

TEST(RangeMapTest, NearRangesShareTheGroupsTheyNeed) {
  RangeMap map(16, 2);
  map.insert(at(0x1000), 0);
  map.insert(at(0x1010), 1);

  EXPECT_EQ(map.groupsFor(2), 1u);
  EXPECT_EQ(map.groupsFor(3), 3u);
}

TEST(RangeMapTest, ClearedMapCountsTheGroupsItNeedsAnew) {
  RangeMap map(16, 2);
  map.insert(at(0x1000), 0);

  map.clear();

  EXPECT_EQ(map.groupsFor(1), 2u);
}

TEST(SegmentIndexTest, ThatIsFullWantsTwiceItsCapacity) {
  SegmentIndex index(256, {1, 2});
  const SegmentIndex::Capacity own = index.capacity();
  EXPECT_EQ(index.capacityFor(1), own);
  index.add(at(0x1000), 0);

  const SegmentIndex::Capacity wanted = index.capacityFor(2);

  EXPECT_EQ(wanted.segments, own.segments) << "a word has 64 bits";
  EXPECT_EQ(wanted.groups, 2 * own.groups);
  EXPECT_TRUE(wanted.covers(own));
  EXPECT_FALSE(own.covers(wanted));
  EXPECT_EQ(index.capacityFor(own.segments + 1).segments, 2 * own.segments);
}

TEST(SegmentIndexTest, KnowsSegmentsAndTheirRoomApart) {
  SegmentIndex index(256, {2, 4});
  index.add(at(0x1000), 0);
  index.add(at(0x3000), 1);
  EXPECT_EQ(index.firstWithRoom(), SegmentIndex::kNone);

  index.setRoom(1, true);
  EXPECT_EQ(index.firstWithRoom(), 1u);
  index.setRoom(0, true);
  EXPECT_EQ(index.firstWithRoom(), 0u);
  index.setRoom(0, false);
  EXPECT_EQ(index.firstWithRoom(), 1u);
  EXPECT_EQ(index.candidate(at(0x10FF)), 0u);

  index.clear();
  EXPECT_EQ(index.firstWithRoom(), SegmentIndex::kNone);
  EXPECT_EQ(index.candidate(at(0x1000)), SegmentIndex::kNone);
}

}  // namespace
