// Text that is written piece by piece.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>

namespace qvr::internal {

/// Text while it grows: on the stack as long as it is short.
template <class Char>
class GrowingText {
 public:
  static constexpr std::size_t kBlock = 1024;

  /// Where `length` characters more can be written, up to kBlock.
  Char* room(std::size_t length) {
    if (length > kBlock - used_) spill();
    return block_ + used_;
  }
  /// Takes in what was written, up to `end`.
  void extend(const Char* end) { used_ = static_cast<std::size_t>(end - block_); }

  void append(const Char* text, std::size_t length) {
    if (length > kBlock - used_) return appendLong(text, length);
    extend(std::copy_n(text, length, block_ + used_));
  }

  /// Announces `length` characters more.
  void reserve(std::size_t length) { text_.reserve(size() + length); }

  bool isShort() const { return text_.empty(); }
  std::size_t size() const { return text_.size() + used_; }
  const Char* block() const { return block_; }
  std::basic_string<Char>& text() {
    spill();
    return text_;
  }

  /// @return the text, in memory of its length where it is short.
  std::basic_string<Char> take() {
    return isShort() ? std::basic_string<Char>(block_, used_) : std::move(text());
  }

 private:
  void spill() {
    text_.append(block_, used_);
    used_ = 0;
  }

  void appendLong(const Char* text, std::size_t length) {
    spill();
    text_.append(text, length);
  }

  std::basic_string<Char> text_;
  std::size_t used_ = 0;
  alignas(64) Char block_[kBlock];  // so that no vector crosses two cache lines
};

}  // namespace qvr::internal
