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

/// @return that many default values.
///
/// A new-handler may change the caller's data meanwhile. Compilers take it that memory is
/// found without a change to what they can see: so they see only a call.
template <class T>
[[gnu::noinline]] std::vector<T> newVector(std::size_t size) {
  return std::vector<T>(size);
}

/// @return room for that many, as newVector().
template <class T>
[[gnu::noinline]] std::vector<T> newRoom(std::size_t capacity) {
  std::vector<T> room;
  room.reserve(capacity);
  return room;
}

/// A set of small numbers that knows its least one: a bit for each number, above them
/// a bit for each word that is not 0, and so on.
///
/// Changes and questions cost a step per level.
class NumberSet {
 public:
  /// Makes room for the numbers below `count`. @throws std::bad_alloc; nothing changes.
  void reserve(std::size_t count) {
    for (Level& level : levels_) {
      count = (count + kBits - 1) / kBits;
      if (level.size() < count) grow(level, std::max(count, 2 * level.size()));
    }
  }

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

  static void grow(Level& level, std::size_t size) {
    Level larger = newVector<std::uint64_t>(size);
    // A new-handler may have come here before.
    if (size <= level.size()) return;
    std::copy(level.begin(), level.end(), larger.begin());
    level.swap(larger);
  }

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
  explicit RangeMap(std::size_t length) noexcept
      : length_(length), pageShift_(static_cast<int>(std::bit_width(length)) - 1) {}

  /// Makes room for so many ranges. @throws std::bad_alloc; nothing changes.
  void reserve(std::size_t count) {
    if (count >= kNone) throw std::bad_alloc();
    if (count <= count_) return;
    const std::size_t most = groups_.size() + kMostGroups * (count - count_);
    if (most <= groups_.capacity()) return;
    auto groups = newRoom<Group>(std::max(most, 2 * groups_.capacity()));
    auto entries = newVector<Entry>(std::bit_ceil(2 * groups.capacity()));
    // A new-handler may have come here before.
    if (groups.capacity() <= groups_.capacity()) return;
    groups.assign(groups_.begin(), groups_.end());
    groups.swap(groups_);
    entries.swap(entries_);
    mask_ = entries_.size() - 1;
    hashShift_ = 64 - static_cast<int>(std::bit_width(mask_));
    for (const Entry& entry : entries) {
      if (entry.key != kFree) entries_[slotFor(entry.key)] = entry;
    }
  }

  /// Needs room for one more, and a number below that of the room.
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
  std::vector<Group> groups_;   // their capacity is what there is room for
  std::vector<Entry> entries_;  // a power of two, or none
  std::size_t mask_ = 0;        // of their numbers
  int hashShift_ = 0;           // to as many bits
};

/// Where the blocks of a block allocator lie, and which of its segments have room.
class SegmentIndex {
 public:
  static constexpr std::size_t kNone = RangeMap::kNone;

  explicit SegmentIndex(std::size_t segmentLength) noexcept : ranges_(segmentLength) {}

  /// Makes room for so many segments. @throws std::bad_alloc; nothing changes.
  void reserve(std::size_t count) {
    ranges_.reserve(count);
    withRoom_.reserve(count);
  }

  /// Needs room for one more.
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
  RangeMap ranges_;
  NumberSet withRoom_;
};

}  // namespace qvr::internal
