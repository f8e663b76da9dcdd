// A line on the terminal that tells how far the walk has come.
#pragma once

#include <cstdint>

#include "QVRStopwatch.h"
#include "QVRSysFastMutexLock.h"
#include "QVRThreadAnnotations.h"

namespace catalogue {

/// Writes to standard error, and only if that is a terminal; takes the line away
/// in the end.
///
/// Any thread may call any operation; without a terminal they cost nothing.
class Progress {
 public:
  Progress();
  ~Progress();

  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// So many more entries have been met.
  void addEntries(std::uint64_t count) { add(count, 0); }

  /// So many more bytes of contents have been read.
  void addBytes(std::uint64_t count) { add(0, count); }

 private:
  void add(std::uint64_t entries, std::uint64_t bytes);
  void show() QVR_REQUIRES(lock_);

  const bool isTerminal_;
  QVRSysFastMutexLock lock_;
  bool isShown_ QVR_GUARDED_BY(lock_) = false;
  std::uint64_t entries_ QVR_GUARDED_BY(lock_) = 0;
  std::uint64_t bytes_ QVR_GUARDED_BY(lock_) = 0;
  QVRStopwatch sinceUpdate_ QVR_GUARDED_BY(lock_);
};

}  // namespace catalogue
