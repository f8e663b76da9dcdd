// What the system says of the machine, as a test has it.
#pragma once

#include <cstdint>
#include <string>

/// Has one function of the platform's machine answer with a text or number of the test's
/// within a scope, in which no other thread asks. PlatformPlan makes it fail.
///
/// @code
/// const PlatformAnswer answer("systemRelease", "6.1.7601");
/// @endcode
class PlatformAnswer {
 public:
  PlatformAnswer(const char* function, std::string text);
  PlatformAnswer(const char* function, std::uint64_t number);
  ~PlatformAnswer();

  PlatformAnswer(const PlatformAnswer&) = delete;
  PlatformAnswer& operator=(const PlatformAnswer&) = delete;

 private:
  const std::string function_;
};
