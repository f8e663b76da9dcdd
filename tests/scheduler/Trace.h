// The steps of a schedule.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "scheduler/SchedulingPoint.h"

namespace qvr::scheduler {

class Trace {
 public:
  void clear() noexcept { steps_.clear(); }
  std::uint32_t size() const noexcept { return static_cast<std::uint32_t>(steps_.size()); }

  void add(unsigned thread, Operation operation, const void* word) {
    steps_.push_back({word, 0, 0, operation, false, static_cast<std::uint8_t>(thread)});
  }

  void note(std::uint64_t before, std::uint64_t after) noexcept {
    Step& last = steps_.back();
    last.before = before;
    last.after = after;
    last.noted = true;
  }

  /// One line per step: its number, the thread, the operation, the word and what
  /// became of it. Of a long schedule only the end.
  template <class ThreadName, class WordName>
  std::string text(ThreadName threadName, WordName wordName) const {
    std::string lines;
    const std::size_t first = steps_.size() > kLinesShown ? steps_.size() - kLinesShown : 0;
    for (std::size_t i = first; i < steps_.size(); ++i) {
      lines += line(i, threadName(steps_[i].thread), wordName(steps_[i].word));
    }
    return lines;
  }

  /// The words in the order in which they were first used.
  std::vector<const void*> words() const;

 private:
  struct Step {
    const void* word;
    std::uint64_t before;
    std::uint64_t after;
    Operation operation;
    bool noted;
    std::uint8_t thread;
  };

  static constexpr std::size_t kLinesShown = 300;

  std::string line(std::size_t index, const char* thread, const std::string& word) const;

  std::vector<Step> steps_;
};

}  // namespace qvr::scheduler
