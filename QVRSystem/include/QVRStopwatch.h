// Elapsed time.
#pragma once

#include <cstdint>

#include "QVRSystemExport.h"

/// Measures elapsed time with the system's high-resolution counter or, where the
/// system has none, with its millisecond tick count, which wraps every 49.7 days.
///
/// | state   | start()         | stop()           | reset()             |
/// |---------|-----------------|------------------|---------------------|
/// | stopped | runs, from zero | nothing          | reads zero          |
/// | running | nothing         | reading is fixed | stops, reads zero   |
///
/// Nothing here throws.
///
/// @par Thread safety
/// One thread uses an object; any number of threads may use their own at once.
/// @par Cost
/// start(), stop() and a reading while running: one reading of the counter.
class QVRSYSTEM_API QVRStopwatch {
 public:
  /// Stopped at zero. Asks for the counter's frequency again.
  QVRStopwatch() noexcept;

  void start() noexcept;
  void stop() noexcept;
  void reset() noexcept;
  bool isRunning() const noexcept { return running_; }

  /// Elapsed seconds; up to now while running.
  double read() const noexcept;
  /// Elapsed whole microseconds; up to now while running.
  std::int64_t readMicro() const noexcept;

  /// Seconds per count.
  static double GetResolution() noexcept;
  /// 1000 with the tick count; with the counter 0, for the seconds per count are
  /// cut to a whole number before they are made microseconds.
  static int GetResolutionMicro() noexcept;

 protected:
  /// Counts per second, and whether there is only the tick count; the same for
  /// the whole process. Every constructor writes both atomically.
  static std::int64_t _Frequency;
  static bool _UsingGetTickCount;

 private:
  friend struct QVRStopwatchTestAccess;

  std::int64_t elapsedCounts() const noexcept;

  std::int64_t start_ = 0;
  std::int64_t stop_ = 0;
  bool running_ = false;
};
