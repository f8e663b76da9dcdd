// The index of a table of many holders, compared with a plain map.
#include "QVRSystem/QVRThreadsMD.m/src/QVRHolderIndex.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>
#include <vector>

#include "support/AllocationRefuser.h"
#include "support/TestSeed.h"

namespace {

using qvr::internal::HolderIndex;

/// An index beside what it should hold.
class Model {
 public:
  explicit Model(std::size_t places) : places_(places) { index_.reserve(places); }

  void grow(std::size_t places) {
    index_.reserve(places);
    places_ = std::max(places_, places);
  }

  bool isFull() const { return placeOf_.size() == places_; }

  void add(std::uint32_t thread) {
    if (isFull() || placeOf_.contains(thread)) return;
    int place = 0;
    while (taken_.contains(place)) ++place;
    ASSERT_EQ(index_.firstFree(), place);
    index_.add(thread, place);
    placeOf_[thread] = place;
    taken_.insert(place);
  }

  void remove(std::uint32_t thread) {
    const auto found = placeOf_.find(thread);
    if (found == placeOf_.end()) return;
    index_.remove(thread);
    taken_.erase(found->second);
    placeOf_.erase(found);
  }

  void check(std::uint32_t thread) const {
    const auto found = placeOf_.find(thread);
    ASSERT_EQ(index_.find(thread), found == placeOf_.end() ? -1 : found->second) << thread;
  }

 private:
  HolderIndex index_;
  std::size_t places_;
  std::map<std::uint32_t, int> placeOf_;
  std::set<int> taken_;
};

TEST(QVRHolderIndexTest, AnEmptyIndexHasNobodyAndTheFirstPlaceFree) {
  HolderIndex index;
  index.reserve(16);

  EXPECT_EQ(index.find(7), -1);
  EXPECT_EQ(index.firstFree(), 0);
}

TEST(QVRHolderIndexTest, TheFirstOfTheFreePlacesIsTold) {
  HolderIndex index;
  index.reserve(130);
  for (int place = 0; place < 130; ++place) {
    EXPECT_EQ(index.firstFree(), place);
    index.add(1000 + static_cast<std::uint32_t>(place), place);
  }

  for (const int place : {129, 64, 63, 5, 0}) {
    index.remove(1000 + static_cast<std::uint32_t>(place));
    EXPECT_EQ(index.firstFree(), place);
  }
}

TEST(QVRHolderIndexTest, FindsEveryThreadUnderAnySequence) {
  std::mt19937 random(testSeed());
  // Few threads for many places, and as many as there are, so that they collide.
  for (const std::uint32_t threads : {5u, 16u, 300u, 4000u}) {
    SCOPED_TRACE(threads);
    Model model(16);
    for (int step = 0; step < 20'000; ++step) {
      const std::uint32_t thread = 1 + static_cast<std::uint32_t>(random()) % threads;
      if (model.isFull() && random() % 4 == 0) model.grow(1 + random() % 512);
      if (random() % 5 < 3) {
        model.add(thread);
      } else {
        model.remove(thread);
      }
      model.check(thread);
      model.check(1 + static_cast<std::uint32_t>(random()) % threads);
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

TEST(QVRHolderIndexTest, ThreadsWhoseSlotsCollideAreFoundAfterOneHasGone) {
  // Identifiers a power of two apart share their slots' neighbourhood at the latest
  // when the table is half full.
  HolderIndex index;
  index.reserve(16);
  std::vector<std::uint32_t> threads;
  for (std::uint32_t i = 1; i <= 16; ++i) threads.push_back(i << 17);
  for (int place = 0; place < 16; ++place)
    index.add(threads[static_cast<std::size_t>(place)], place);

  for (std::size_t gone = 0; gone < threads.size(); ++gone) {
    index.remove(threads[gone]);
    EXPECT_EQ(index.find(threads[gone]), -1);
    for (std::size_t i = gone + 1; i < threads.size(); ++i) {
      EXPECT_EQ(index.find(threads[i]), static_cast<int>(i)) << gone;
    }
  }
}

TEST(QVRHolderIndexTest, KeepsWhatItHasWhereMemoryIsRefused) {
  HolderIndex index;
  index.reserve(16);
  for (int place = 0; place < 16; ++place) {
    index.add(100 + static_cast<std::uint32_t>(place), place);
  }
  const auto check = [&] {
    for (int place = 0; place < 16; ++place) {
      EXPECT_EQ(index.find(100 + static_cast<std::uint32_t>(place)), place);
    }
  };

  EXPECT_GT(refuseEachAllocation([&] { index.reserve(200); }, check), 0u);

  check();
  EXPECT_EQ(index.firstFree(), 16);
}

}  // namespace
