#include "scheduler/Strategy.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace qvr::scheduler {

namespace {

constexpr ThreadSet bit(unsigned thread) { return ThreadSet{1} << thread; }

/// Thread number `index` of the set, counted from 0.
unsigned nth(ThreadSet set, unsigned index) {
  for (; index != 0; --index) set &= set - 1;
  return static_cast<unsigned>(std::countr_zero(set));
}

unsigned countOf(ThreadSet set) { return static_cast<unsigned>(std::popcount(set)); }

/// Reads a number off the front of the text, and the separator behind it.
unsigned takeNumber(std::string_view& text, char separator) {
  unsigned number = 0;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || (rest != end && *rest != separator)) {
    throw std::invalid_argument("no choices: " + std::string(text));
  }
  text.remove_prefix(static_cast<std::size_t>(rest - text.data()) + (rest != end ? 1 : 0));
  return number;
}

}  // namespace

ExhaustiveStrategy::ExhaustiveStrategy(unsigned preemptions, const std::string& choices)
    : preemptions_(preemptions) {
  for (std::string_view rest = choices; !rest.empty();) {
    const std::size_t point = takeNumber(rest, ':');
    path_.resize(std::max(path_.size(), point + 1), Choice{0, 0});
    path_[point].taken = takeNumber(rest, ',');
  }
}

void ExhaustiveStrategy::begin() noexcept {
  depth_ = 0;
  preemptionsLeft_ = preemptions_;
}

bool ExhaustiveStrategy::advance() {
  path_.resize(depth_);
  while (!path_.empty()) {
    if (++path_.back().taken < path_.back().count) return true;
    path_.pop_back();
  }
  return false;
}

std::string ExhaustiveStrategy::choices() const {
  std::string text;
  for (std::size_t i = 0; i < depth_; ++i) {
    if (path_[i].taken == 0) continue;
    if (!text.empty()) text += ',';
    text += std::to_string(i);
    text += ':';
    text += std::to_string(path_[i].taken);
  }
  return text;
}

unsigned ExhaustiveStrategy::nextThread(ThreadSet ready, unsigned current) {
  if ((ready & bit(current)) == 0) return nth(ready, pick(countOf(ready)));
  const ThreadSet others = ready & ~bit(current);
  if (others == 0 || preemptionsLeft_ == 0) return current;
  const unsigned choice = pick(1 + countOf(others));
  if (choice == 0) return current;
  --preemptionsLeft_;
  return nth(others, choice - 1);
}

unsigned ExhaustiveStrategy::pick(unsigned count) {
  if (count == 1) return 0;
  if (depth_ == path_.size()) path_.push_back({0, count});
  Choice& choice = path_[depth_++];
  choice.count = count;
  return std::min(choice.taken, count - 1);
}

RandomStrategy::RandomStrategy(std::uint64_t seed, bool noise) : state_(seed) {
  manner_ = static_cast<Manner>(drawBelow(3));
  stickiness_ = 1 + drawBelow(4);
  noise_ = noise && drawBelow(2) == 0;
  shufflePriorities();
  drawChanges();
}

// A 64-bit counter whose bits are mixed, so that neighbouring seeds have nothing
// in common.
std::uint32_t RandomStrategy::draw() noexcept {
  std::uint64_t mixed = state_ += 0x9E3779B97F4A7C15;
  mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9;
  mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EB;
  return static_cast<std::uint32_t>(mixed >> 32);
}

unsigned RandomStrategy::drawBelow(unsigned limit) noexcept {
  return static_cast<unsigned>((std::uint64_t{draw()} * limit) >> 32);
}

void RandomStrategy::shufflePriorities() {
  for (unsigned i = 0; i < kMaxThreads; ++i) priorities_[i] = kMaxChanges + 1 + i;
  for (unsigned i = kMaxThreads; i > 1; --i) {
    std::swap(priorities_[i - 1], priorities_[drawBelow(i)]);
  }
  lowest_ = kMaxChanges + 1;
}

// Schedules differ in length and nothing is known of this one: the range of the
// points is drawn, too.
void RandomStrategy::drawChanges() {
  const unsigned range = 8u << drawBelow(6);
  const unsigned count = drawBelow(kMaxChanges + 1);
  for (unsigned i = 0; i < count; ++i) changes_[i] = 1 + drawBelow(range);
}

unsigned RandomStrategy::nextThread(ThreadSet ready, unsigned current) {
  const bool canGoOn = (ready & bit(current)) != 0;
  ++points_;
  if (manner_ == Manner::Uniform) return anyOf(ready);
  if (manner_ == Manner::Sticky) {
    return canGoOn && drawBelow(1u << stickiness_) != 0 ? current : anyOf(ready);
  }
  if (canGoOn && std::find(changes_, std::end(changes_), points_) != std::end(changes_)) {
    if (lowest_ != 0) --lowest_;
    priorities_[current] = lowest_;
  }
  return highestOf(ready);
}

unsigned RandomStrategy::anyOf(ThreadSet ready) { return nth(ready, drawBelow(countOf(ready))); }

unsigned RandomStrategy::highestOf(ThreadSet ready) const {
  unsigned best = static_cast<unsigned>(std::countr_zero(ready));
  for (unsigned i = best + 1; i < kMaxThreads; ++i) {
    if ((ready & bit(i)) != 0 && priorities_[i] > priorities_[best]) best = i;
  }
  return best;
}

unsigned RandomStrategy::pick(unsigned count) { return count == 1 ? 0 : drawBelow(count); }

bool RandomStrategy::happensForNoReason() { return noise_ && drawBelow(16) == 0; }

}  // namespace qvr::scheduler
