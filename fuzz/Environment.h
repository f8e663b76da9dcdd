// A variable of the environment that has another value for each input.
#pragma once

#include <cstdlib>
#include <string>
#include <string_view>

namespace fuzz {

/// Sets a variable for a scope; nothing else touches it. The text is this object's: the
/// C library would keep a copy of every value that it was ever given.
class Variable {
 public:
  /// @param value used up to its first zero.
  Variable(const std::string& name, std::string_view value) : name_(name), text_(name + '=') {
    text_ += value;
    putenv(text_.data());
  }
  ~Variable() { unsetenv(name_.c_str()); }

  Variable(const Variable&) = delete;
  Variable& operator=(const Variable&) = delete;

 private:
  const std::string name_;
  std::string text_;
};

}  // namespace fuzz
