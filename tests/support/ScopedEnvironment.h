// One variable of the environment for the length of a test.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

/// Sets a variable, or removes it where the value is null, and puts back at the
/// end of the scope what was there. Only while no other thread runs.
class ScopedEnvironment {
 public:
  ScopedEnvironment(const char* name, const char* value) : name_(name) {
    if (const char* const before = std::getenv(name)) before_ = before;
    change(value);
  }
  ~ScopedEnvironment() { change(before_ ? before_->c_str() : nullptr); }

  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

 private:
  void change(const char* value) const {
    if (value != nullptr) {
      setenv(name_.c_str(), value, 1);
    } else {
      unsetenv(name_.c_str());
    }
  }

  const std::string name_;
  std::optional<std::string> before_;
};
