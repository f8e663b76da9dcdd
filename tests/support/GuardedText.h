// A text that nothing can be read behind.
#pragma once

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <string_view>

/// A zero-terminated text at the end of a page, in front of one that nobody may read: what
/// the C library reads too far no sanitizer sees.
class GuardedText {
 public:
  /// @param text shorter than a page.
  explicit GuardedText(std::string_view text) {
    EXPECT_NE(pages_, MAP_FAILED);
    EXPECT_EQ(mprotect(pages_ + pageSize(), pageSize(), PROT_NONE), 0);
    text_ = pages_ + pageSize() - text.size() - 1;
    std::memcpy(text_, text.data(), text.size());
  }
  ~GuardedText() { munmap(pages_, 2 * pageSize()); }

  GuardedText(const GuardedText&) = delete;
  GuardedText& operator=(const GuardedText&) = delete;

  const char* get() const { return text_; }

 private:
  static std::size_t pageSize() { return static_cast<std::size_t>(sysconf(_SC_PAGESIZE)); }

  char* const pages_ = static_cast<char*>(
      mmap(nullptr, 2 * pageSize(), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  char* text_;
};
