// A text that nothing can be read behind.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <new>
#include <string_view>

/// A zero-terminated text at the end of a page, in front of one that nobody may read: what
/// the C library reads too far no sanitizer sees.
class GuardedText {
 public:
  explicit GuardedText(std::string_view text)
      : guardOffset_((text.size() / pageSize() + 1) * pageSize()),
        pages_(mmap(nullptr, guardOffset_ + pageSize(), PROT_READ | PROT_WRITE,
                    MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) {
    if (pages_ == MAP_FAILED) throw std::bad_alloc();
    char* const guard = static_cast<char*>(pages_) + guardOffset_;
    mprotect(guard, pageSize(), PROT_NONE);
    text_ = guard - text.size() - 1;
    std::memcpy(text_, text.data(), text.size());
  }
  ~GuardedText() { munmap(pages_, guardOffset_ + pageSize()); }

  GuardedText(const GuardedText&) = delete;
  GuardedText& operator=(const GuardedText&) = delete;

  const char* get() const { return text_; }

 private:
  static std::size_t pageSize() { return static_cast<std::size_t>(sysconf(_SC_PAGESIZE)); }

  const std::size_t guardOffset_;
  void* const pages_;
  char* text_;
};
