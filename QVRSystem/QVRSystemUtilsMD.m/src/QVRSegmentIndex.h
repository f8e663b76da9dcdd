// What finds a block allocator's segments without walking them.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

namespace qvr::internal {

/// A set of small numbers that knows its least one: a bit for each number, above them
/// a bit for each word that is not 0, and so on.
///
/// Changes and questions cost a step per level.
class NumberSet {
 public:
  /// For the numbers below `capacity`. @throws std::bad_alloc
  explicit NumberSet(std::size_t capacity) {
    for (Level& level : levels_) {
      capacity = (capacity + kBits - 1) / kBits;
      level.resize(capacity);
    }
  }

  std::size_t capacity() const noexcept { return levels_.front().size() * kBits; }

  void insert(std::size_t number) noexcept {
    for (Level& level : levels_) {
      std::uint64_t& word = level[number / kBits];
      const bool known = word != 0;
      word |= bitOf(number);
      if (known) return;
      number /= kBits;
    }
  }

  void erase(std::size_t number) noexcept {
    for (Level& level : levels_) {
      std::uint64_t& word = level[number / kBits];
      word &= ~bitOf(number);
      if (word != 0) return;
      number /= kBits;
    }
  }

  void clear() noexcept {
    for (Level& level : levels_) std::fill(level.begin(), level.end(), 0);
  }

  /// @return the least number; `none` where the set is empty.
  std::size_t first(std::size_t none) const noexcept {
    const auto& top = levels_.back();
    const auto at = std::find_if(top.begin(), top.end(), [](auto word) { return word != 0; });
    if (at == top.end()) return none;
    auto number = static_cast<std::size_t>(at - top.begin());
    for (auto level = levels_.rbegin(); level != levels_.rend(); ++level) {
      number = number * kBits + static_cast<std::size_t>(std::countr_zero((*level)[number]));
    }
    return number;
  }

 private:
  static constexpr std::size_t kBits = 64;

  using Level = std::vector<std::uint64_t>;

  static std::uint64_t bitOf(std::size_t number) noexcept {
    return std::uint64_t{1} << (number % kBits);
  }

  // Four of them: above 64^4 numbers the topmost has more than one word.
  std::array<Level, 4> levels_;
};

/// Which of a number of ranges of one length an address can lie in. They do not overlap.
///
/// The address space is divided into pages, of which a range is one to two long: in a
/// page one range begins at most, and one may reach into it from before. Neighbouring
/// pages lie in groups, so that what is near in memory is near here; a table with open
/// addressing, at most half of it in use, has an entry for each group that a range
/// touches.
class RangeMap {
 public:
  static constexpr std::size_t kNone = UINT32_MAX;

  /// @param length of every range, in bytes; not 0.
  /// @param groups that there is room for.
  /// @throws std::bad_alloc
  RangeMap(std::size_t length, std::size_t groups)
      : length_(length),
        pageShift_(static_cast<int>(std::bit_width(length)) - 1),
        entries_(groups != 0 ? std::bit_ceil(2 * groups) : 0),
        mask_(entries_.size() - 1),
        hashShift_(64 - static_cast<int>(std::bit_width(mask_))) {
    groups_.reserve(groups);
  }

  /// How many groups there is room for.
  std::size_t capacity() const noexcept { return groups_.capacity(); }

  /// How many groups so many ranges may need, these and any others. Not fewer than there are.
  /// @throws std::bad_alloc where they cannot be numbered.
  std::size_t groupsFor(std::size_t count) const {
    if (count >= kNone) throw std::bad_alloc();
    return groups_.size() + kMostGroups * (count - count_);
  }

  /// Needs room for the groups of one more.
  void insert(const void* begin, std::size_t number) noexcept {
    const auto first = reinterpret_cast<std::uintptr_t>(begin);
    const std::uintptr_t last = pageOf(first + length_ - 1);
    std::uintptr_t page = pageOf(first);
    madePage(page).numbers[1] = static_cast<std::uint32_t>(number);
    madePage(page).begin = first;
    while (page++ != last) madePage(page).numbers[0] = static_cast<std::uint32_t>(number);
    ++count_;
  }

  void clear() noexcept {
    groups_.clear();
    std::fill(entries_.begin(), entries_.end(), Entry{});
    count_ = 0;
  }

  /// @return the number of the one range that can hold the address, whether it does or
  ///   not; kNone where there is none.
  std::size_t candidate(const void* address) const noexcept {
    if (entries_.empty()) return kNone;
    const auto at = reinterpret_cast<std::uintptr_t>(address);
    const std::uintptr_t page = pageOf(at);
    const Entry& entry = entries_[slotFor(keyOf(page))];
    if (entry.key == kFree) return kNone;
    const Page& found = groups_[entry.group][page % kGroupPages];
    return found.numbers[at >= found.begin];
  }

 private:
  struct Page {
    std::uintptr_t begin = UINTPTR_MAX;  // of the range that begins here
    // The number of the range that began before, and of the one that begins here: found
    // without a jump, which nobody could foretell.
    std::uint32_t numbers[2] = {kNone, kNone};
  };

  static constexpr std::size_t kGroupPages = 32;
  using Group = std::array<Page, kGroupPages>;

  // Of a range, which touches three pages at most.
  static constexpr std::size_t kMostGroups = 2;

  struct Entry {
    std::uintptr_t key = kFree;
    std::size_t group = 0;
  };
  static constexpr std::uintptr_t kFree = 0;

  std::uintptr_t pageOf(std::uintptr_t address) const noexcept { return address >> pageShift_; }

  static std::uintptr_t keyOf(std::uintptr_t page) noexcept { return page / kGroupPages + 1; }

  // Where the key is, or else where it can be entered. Multiplied by the golden ratio's
  // fraction, neighbouring groups spread evenly; but groups at the distance of a Fibonacci
  // number come to lie side by side, unless it is done twice.
  std::size_t slotFor(std::uintptr_t key) const noexcept {
    constexpr std::uint64_t kGoldenRatio = 0x9E3779B97F4A7C15;
    const std::uint64_t once = key * kGoldenRatio;
    auto slot = static_cast<std::size_t>(((once ^ once >> 32) * kGoldenRatio) >> hashShift_);
    while (entries_[slot].key != key && entries_[slot].key != kFree) slot = (slot + 1) & mask_;
    return slot;
  }

  Page& madePage(std::uintptr_t page) noexcept {
    Entry& entry = entries_[slotFor(keyOf(page))];
    if (entry.key == kFree) {
      entry = {keyOf(page), groups_.size()};
      groups_.emplace_back();
    }
    return groups_[entry.group][page % kGroupPages];
  }

  const std::size_t length_;
  const int pageShift_;
  std::size_t count_ = 0;
  std::vector<Group> groups_;
  std::vector<Entry> entries_;  // a power of two, or none
  const std::size_t mask_;      // of their numbers
  const int hashShift_;         // to as many bits
};

/// Where the blocks of a block allocator lie, and which of its segments have room.
class SegmentIndex {
 public:
  static constexpr std::size_t kNone = RangeMap::kNone;

  /// What there is room for.
  struct Capacity {
    std::size_t segments = 0;
    std::size_t groups = 0;  // of the RangeMap

    bool operator==(const Capacity&) const = default;
    bool covers(const Capacity& other) const noexcept {
      return segments >= other.segments && groups >= other.groups;
    }
  };

  /// @throws std::bad_alloc
  SegmentIndex(std::size_t segmentLength, const Capacity& capacity)
      : ranges_(segmentLength, capacity.groups), withRoom_(capacity.segments) {}

  Capacity capacity() const noexcept { return {withRoom_.capacity(), ranges_.capacity()}; }

  /// @return the capacity of an index that has these segments and is to have so many: its
  ///   own if that will do. @throws std::bad_alloc where they cannot be numbered.
  Capacity capacityFor(std::size_t count) const {
    return {grown(withRoom_.capacity(), count),
            grown(ranges_.capacity(), ranges_.groupsFor(count))};
  }

  /// Needs capacity for one more.
  void add(const void* begin, std::size_t number) noexcept { ranges_.insert(begin, number); }

  void clear() noexcept {
    ranges_.clear();
    withRoom_.clear();
  }

  void setRoom(std::size_t number, bool hasRoom) noexcept {
    hasRoom ? withRoom_.insert(number) : withRoom_.erase(number);
  }

  std::size_t firstWithRoom() const noexcept { return withRoom_.first(kNone); }
  /// @return the one segment that can hold the address, whether it does or not, or kNone.
  std::size_t candidate(const void* address) const noexcept { return ranges_.candidate(address); }

 private:
  static std::size_t grown(std::size_t capacity, std::size_t needed) noexcept {
    return needed <= capacity ? capacity : std::max(needed, 2 * capacity);
  }

  RangeMap ranges_;
  NumberSet withRoom_;
};

}  // namespace qvr::internal
