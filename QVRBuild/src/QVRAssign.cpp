#include "QVRAssign.h"

#include <cstring>
#include <cwchar>
#include <stdexcept>

namespace {

constexpr std::size_t kFailed = static_cast<std::size_t>(-1);  // as the C library says it

constexpr wchar_t kLastUnit = 0xFFFF;
constexpr wchar_t kLastCode = 0x10FFFF;

void append(std::u16string& to, wchar_t code) {
  if (code > kLastCode) throw std::runtime_error("Invalid multibyte string");
  if (code > kLastUnit) {
    to.push_back(static_cast<char16_t>(0xD7C0 + (code >> 10)));
    code = 0xDC00 + (code & 0x3FF);
  }
  to.push_back(static_cast<char16_t>(code));
}

// A text up to its terminating zero.
void append(std::u16string& to, const char* text) {
  constexpr std::size_t kBlock = 256;
  wchar_t block[kBlock];
  std::mbstate_t state{};
  while (text != nullptr) {
    const std::size_t count = std::mbsrtowcs(block, &text, kBlock, &state);
    // Behind a character that the zero cuts short, it would read on.
    const bool isCut = count < kBlock && text != nullptr;
    if (count == kFailed || isCut) throw std::runtime_error("Invalid multibyte string");
    for (std::size_t i = 0; i < count; ++i) append(to, block[i]);
  }
}

}  // namespace

void QVRAssign(std::u16string& to, const std::string& from) {
  std::u16string wide;
  wide.reserve(from.size());
  const char* text = from.c_str();
  const char* const end = text + from.size();
  append(wide, text);
  for (text += std::strlen(text); text != end; text += std::strlen(text)) {
    wide.push_back(u'\0');
    append(wide, ++text);
  }
  to.swap(wide);
}
