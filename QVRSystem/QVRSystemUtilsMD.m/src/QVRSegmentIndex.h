// What finds a block allocator's segments without walking them.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
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

/// Which of a number of ranges of one length an address lies in.
///
/// The address space is divided into pages no shorter than a range, so that a range
/// touches two of them at most. A table with open addressing has an entry for each
/// page that a range touches; at most half of it is in use.
class RangeMap {
 public:
  static constexpr std::size_t kNone = SIZE_MAX;

  /// @param length of every range, in bytes; not 0.
  explicit RangeMap(std::size_t length) noexcept
      : length_(length), pageShift_(static_cast<int>(std::bit_width(length - 1))) {}

  /// Makes room for so many ranges. @throws std::bad_alloc; nothing changes.
  void reserve(std::size_t count) {
    const std::size_t needed = std::bit_ceil(std::max(kLeastEntries, 4 * count));
    if (needed <= entries_.size()) return;
    std::vector<Entry> old = newVector<Entry>(needed);
    // A new-handler may have come here before.
    if (needed <= entries_.size()) return;
    old.swap(entries_);
    for (const Entry& entry : old) {
      if (entry.begin != 0) place(entry);
    }
  }

  /// Needs room for one more.
  void insert(const void* begin, std::size_t number) noexcept {
    const auto first = reinterpret_cast<std::uintptr_t>(begin);
    place({first, 2 * number});
    if (pageOf(first + length_ - 1) != pageOf(first)) place({first, 2 * number + 1});
  }

  void clear() noexcept { std::fill(entries_.begin(), entries_.end(), Entry{}); }

  /// @return the number of the range; kNone where the address is in none.
  std::size_t find(const void* address) const noexcept {
    if (entries_.empty()) return kNone;
    const auto at = reinterpret_cast<std::uintptr_t>(address);
    for (std::size_t i = slotOf(pageOf(at)); entries_[i].begin != 0; i = next(i)) {
      if (at - entries_[i].begin < length_) return entries_[i].number();
    }
    return kNone;
  }

 private:
  struct Entry {
    std::uintptr_t begin = 0;       // of the range; 0: the entry is free
    std::size_t numberAndPage = 0;  // twice the range's number, and which of its pages

    std::size_t number() const noexcept { return numberAndPage / 2; }
    std::size_t page() const noexcept { return numberAndPage % 2; }
  };

  static constexpr std::size_t kLeastEntries = 16;

  std::uintptr_t pageOf(std::uintptr_t address) const noexcept { return address >> pageShift_; }

  // Multiplied by the golden ratio's fraction, neighbouring pages spread evenly; but pages
  // at the distance of a Fibonacci number come to lie side by side, unless it is done twice.
  std::size_t slotOf(std::uintptr_t page) const noexcept {
    constexpr std::uint64_t kGoldenRatio = 0x9E3779B97F4A7C15;
    const std::uint64_t once = page * kGoldenRatio;
    const std::uint64_t twice = (once ^ once >> 32) * kGoldenRatio;
    return static_cast<std::size_t>(twice >> (64 - std::bit_width(mask())));
  }

  std::size_t next(std::size_t slot) const noexcept { return (slot + 1) & mask(); }
  std::size_t mask() const noexcept { return entries_.size() - 1; }

  void place(const Entry& entry) noexcept {
    std::size_t slot = slotOf(pageOf(entry.begin) + entry.page());
    while (entries_[slot].begin != 0) slot = next(slot);
    entries_[slot] = entry;
  }

  const std::size_t length_;
  const int pageShift_;
  std::vector<Entry> entries_;  // a power of two, or none
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
  std::size_t segmentOf(const void* address) const noexcept { return ranges_.find(address); }

 private:
  RangeMap ranges_;
  NumberSet withRoom_;
};

}  // namespace qvr::internal
