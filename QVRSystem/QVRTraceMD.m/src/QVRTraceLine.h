// Lines while they are composed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <locale>
#include <memory>
#include <ostream>
#include <streambuf>
#include <string_view>
#include <vector>

#include "QVRTraceLog.h"

namespace qvr::trace {

/// Text of any length in memory that is used again for the next line.
class LineBuffer : public std::streambuf {
 public:
  /// @throws std::bad_alloc
  LineBuffer() : storage_(kInitialSize) { truncate(0); }

  std::size_t length() const noexcept { return static_cast<std::size_t>(pptr() - storage_.data()); }

  /// @throws std::bad_alloc; the text is as it was.
  void append(std::string_view text) {
    char* const end = room(text.size());
    std::memcpy(end, text.data(), text.size());
    setp(end + text.size(), epptr());
  }

  /// As above.
  void append(char character) { append(std::string_view(&character, 1)); }
  void append(std::int64_t number);

  void truncate(std::size_t length) noexcept {
    // The last byte is kept for the zero behind the text.
    setp(storage_.data() + length, storage_.data() + storage_.size() - 1);
  }

  /// The text up to here with a zero behind it, until the buffer is changed.
  const char* text() noexcept {
    *pptr() = '\0';
    return storage_.data();
  }

 protected:
  std::streamsize xsputn(const char* text, std::streamsize count) override;
  int_type overflow(int_type character) override;

 private:
  static constexpr std::size_t kInitialSize = 256;

  /// Where `count` bytes more can be written.
  char* room(std::size_t count) {
    if (count > static_cast<std::size_t>(epptr() - pptr())) [[unlikely]]
      grow(count);
    return pptr();
  }
  void grow(std::size_t count);

  std::vector<char> storage_;
};

/// A line of one log, and where the next one goes if that is begun inside it.
class Line {
 public:
  explicit Line(Line* outer = nullptr) : outer_(outer) {}

  /// Begins this line, or one inside it where it is in progress already.
  /// @return the line that was begun.
  /// @throws std::bad_alloc; nothing was begun.
  Line& begin();

  /// Ends the line: its text is gone, its stream as new.
  /// @return the line that goes on now.
  Line& end() noexcept;

  void forgetErrors();

  QVRTraceLevel level = QVRTraceLevelUnspec;
  LineBuffer buffer;
  std::ostream stream{&buffer};

 private:
  const std::locale locale_ = stream.getloc();  // what a caller imbues ends with the line
  Line* const outer_;
  std::unique_ptr<Line> inner_;
  bool inProgress_ = false;
};

}  // namespace qvr::trace
