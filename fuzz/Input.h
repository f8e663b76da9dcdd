// The bytes that a fuzzer is given, as lines: seeds can be read and written by hand.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace fuzz {

class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size)
      : rest_(reinterpret_cast<const char*>(data), size) {}
  explicit Input(std::string_view text) : rest_(text) {}

  bool isAtEnd() const { return rest_.empty(); }

  /// What is left.
  std::string_view rest() const { return rest_; }

  /// Takes what comes before the next newline, and that; all where there is none.
  std::string_view line() { return until('\n'); }
  std::string_view until(char end) {
    const std::size_t length = std::min(rest_.find(end), rest_.size());
    const std::string_view taken = rest_.substr(0, length);
    rest_.remove_prefix(std::min(length + 1, rest_.size()));
    return taken;
  }

  /// Takes one character; a zero where nothing is left.
  char character() {
    if (rest_.empty()) return '\0';
    const char c = rest_.front();
    rest_.remove_prefix(1);
    return c;
  }

  /// Takes the digits at the head and gives their number modulo `end`.
  unsigned number(unsigned end) {
    unsigned number = 0;
    while (!rest_.empty() && rest_.front() >= '0' && rest_.front() <= '9') {
      number = number * 10 + static_cast<unsigned>(character() - '0');
    }
    return number % end;
  }

 private:
  std::string_view rest_;
};

}  // namespace fuzz
