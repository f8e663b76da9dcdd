#include "QVRTraceLine.h"

#include <algorithm>
#include <charconv>

namespace qvr::trace {

void LineBuffer::append(std::int64_t number) {
  constexpr std::size_t kMaxLength = 20;  // of the smallest number
  char* const end = room(kMaxLength);
  setp(std::to_chars(end, end + kMaxLength, number).ptr, epptr());
}

std::streamsize LineBuffer::xsputn(const char* text, std::streamsize count) {
  append({text, static_cast<std::size_t>(count)});
  return count;
}

LineBuffer::int_type LineBuffer::overflow(int_type character) {
  if (!traits_type::eq_int_type(character, traits_type::eof())) {
    append(traits_type::to_char_type(character));
  }
  return traits_type::not_eof(character);
}

void LineBuffer::grow(std::size_t count) {
  const std::size_t used = length();
  std::vector<char> larger(std::max(2 * storage_.size(), used + count + 1));
  std::copy_n(storage_.data(), used, larger.data());
  storage_.swap(larger);
  truncate(used);
}

Line& Line::begin() {
  if (inProgress_) {
    if (inner_ == nullptr) inner_ = std::make_unique<Line>(this);
    return inner_->begin();
  }
  inProgress_ = true;
  return *this;
}

void Line::forgetErrors() {
  if (!stream.good()) stream.clear();
}

Line& Line::end() noexcept {
  constexpr std::streamsize kDefaultPrecision = 6;
  buffer.truncate(0);
  if (stream.exceptions() != std::ios_base::goodbit) stream.exceptions(std::ios_base::goodbit);
  forgetErrors();
  stream.flags(std::ios_base::dec | std::ios_base::skipws);
  stream.precision(kDefaultPrecision);
  stream.width(0);
  stream.fill(' ');
  if (stream.getloc() != locale_) stream.imbue(locale_);
  inProgress_ = false;
  return outer_ != nullptr ? *outer_ : *this;
}

}  // namespace qvr::trace
