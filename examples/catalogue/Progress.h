// A line on the terminal that tells how far the walk has come.
#pragma once

#include <cstdint>

#include "QVRStopwatch.h"

namespace catalogue {

/// Writes to standard error, and only if that is a terminal; takes the line away
/// in the end.
class Progress {
 public:
  Progress();
  ~Progress();

  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// One more entry has been met. Costs next to nothing between two updates.
  void step() {
    if (++entries_ % kEntriesPerLook == 0 && isTerminal_) update();
  }

 private:
  static constexpr std::uint64_t kEntriesPerLook = 64;

  void update();

  const bool isTerminal_;
  bool isShown_ = false;
  std::uint64_t entries_ = 0;
  QVRStopwatch sinceUpdate_;
};

}  // namespace catalogue
