#include "QVRHolderIndex.h"

#include <bit>
#include <utility>

namespace qvr::internal {

namespace {

std::uint64_t bitOf(int place) { return std::uint64_t{1} << (static_cast<unsigned>(place) % 64); }

}  // namespace

void HolderIndex::reserve(std::size_t places) {
  const std::size_t size = std::bit_ceil(2 * places);
  if (size <= slots_.size()) return;
  std::vector<Slot> slots(size);
  free_.resize((size / 2 + kWordBits - 1) / kWordBits, ~std::uint64_t{0});
  slots_.swap(slots);
  shift_ = 32 - static_cast<unsigned>(std::countr_zero(size));
  for (const Slot& slot : slots) {
    if (slot.thread != kNobody) enter(slot);
  }
}

void HolderIndex::add(std::uint32_t thread, int place) noexcept {
  enter({thread, place});
  wordOf(place) &= ~bitOf(place);
}

void HolderIndex::remove(std::uint32_t thread) noexcept {
  std::size_t at = homeOf(thread);
  while (slots_[at].thread != thread) at = nextTo(at);
  wordOf(slots_[at].place) |= bitOf(slots_[at].place);
  closeGap(at);
}

int HolderIndex::firstFree() const noexcept {
  for (std::size_t i = 0; i < free_.size(); ++i) {
    if (free_[i] != 0) return static_cast<int>(i * kWordBits) + std::countr_zero(free_[i]);
  }
  return kNowhere;
}

void HolderIndex::enter(Slot slot) noexcept {
  std::size_t at = homeOf(slot.thread);
  while (slots_[at].thread != kNobody) at = nextTo(at);
  slots_[at] = slot;
}

// Every thread behind the gap moves into it unless its home lies behind it too.
void HolderIndex::closeGap(std::size_t gap) noexcept {
  const std::size_t mask = slots_.size() - 1;
  for (std::size_t at = nextTo(gap); slots_[at].thread != kNobody; at = nextTo(at)) {
    const std::size_t fromHome = (at - homeOf(slots_[at].thread)) & mask;
    if (fromHome < ((at - gap) & mask)) continue;
    slots_[gap] = slots_[at];
    gap = at;
  }
  slots_[gap] = Slot{};
}

}  // namespace qvr::internal
