// Makes services of the system fail on demand, beneath the library's sources.
#pragma once

#include <cstddef>
#include <string>

/// Plans one platform function's failures for a scope. Every other function, and
/// every call that is not planned to fail, goes to the real system. Plans for
/// different functions can stand at once; calls of all threads count.
///
/// @code
/// const PlatformPlan plan("openFile", EMFILE);      // each call fails
/// const PlatformPlan plan("openFile", EMFILE, 2);   // only the second one
/// @endcode
class PlatformPlan {
 public:
  /// @param function the name in qvr::platform.
  /// @param error what the function returns instead of doing its work; 0 fails
  ///   nothing and only counts the calls.
  /// @param onlyCall the number of the one call to fail, from 1; 0 for all.
  PlatformPlan(const char* function, int error, std::size_t onlyCall = 0);
  ~PlatformPlan();

  PlatformPlan(const PlatformPlan&) = delete;
  PlatformPlan& operator=(const PlatformPlan&) = delete;

  /// How often the function was called since this plan was made.
  std::size_t calls() const;

 private:
  const std::string function_;
};

namespace platform_double {

/// Counts a call and says how it is to end: 0 to do the real work.
int plannedError(const char* function);

}  // namespace platform_double
