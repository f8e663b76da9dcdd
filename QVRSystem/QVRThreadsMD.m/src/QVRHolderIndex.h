// Where the threads stand in a table of many holders, and which places are free.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qvr::internal {

/// Finds the place of a thread in a table, and the first free place, without
/// walking through the table.
///
/// Threads are kept in an open-addressing hash table that is at most half full:
/// a thread stands at its home slot or behind it, with no empty slot between.
/// Places are bits, set where the place is free.
///
/// @par Thread safety
/// One thread at a time.
/// @par Cost
/// find(), add() and remove() are constant on average; firstFree() looks at one
/// word per 64 places. Only reserve() allocates.
class HolderIndex {
 public:
  /// Room for threads at the places below `places`.
  /// @throws std::bad_alloc; nothing changes.
  void reserve(std::size_t places);

  /// @param thread a kernel's identifier, not 0.
  /// @return its place, or -1.
  int find(std::uint32_t thread) const noexcept {
    std::size_t at = homeOf(thread);
    while (slots_[at].thread != thread && slots_[at].thread != kNobody) at = nextTo(at);
    return slots_[at].place;
  }

  /// Enters a thread that is not there yet at a free place.
  void add(std::uint32_t thread, int place) noexcept;

  /// Takes out a thread that is there.
  void remove(std::uint32_t thread) noexcept;

  /// @return the first place of no thread; -1 where all that have room are taken.
  int firstFree() const noexcept;

 private:
  static constexpr std::uint32_t kNobody = 0;
  static constexpr int kNowhere = -1;
  static constexpr std::size_t kWordBits = 64;

  struct Slot {
    std::uint32_t thread = kNobody;
    std::int32_t place = kNowhere;
  };

  std::size_t homeOf(std::uint32_t thread) const noexcept {
    // The top bits of a product with 2^32 / golden ratio: identifiers that follow
    // each other, the usual ones, spread out.
    return (thread * 0x9E3779B9u) >> shift_;
  }
  std::size_t nextTo(std::size_t at) const noexcept { return (at + 1) & (slots_.size() - 1); }
  std::uint64_t& wordOf(int place) noexcept {
    return free_[static_cast<std::size_t>(place) / kWordBits];
  }
  void enter(Slot slot) noexcept;
  void closeGap(std::size_t gap) noexcept;

  std::vector<Slot> slots_;  // 2^(32 - shift_)
  unsigned shift_ = 32;
  std::vector<std::uint64_t> free_;  // a bit for every place
};

}  // namespace qvr::internal
