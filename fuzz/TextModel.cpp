#include "TextModel.h"

#include <cstdlib>
#include <cwchar>
#include <stdexcept>

namespace {

constexpr std::size_t kFailed = static_cast<std::size_t>(-1);

bool isHigh(char16_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool isLow(char16_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

std::wstring codesOf(const std::u16string& text) {
  const std::runtime_error failure("Invalid wide-character string");
  std::wstring codes;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (isLow(text[i])) throw failure;
    wchar_t code = text[i];
    if (isHigh(text[i])) {
      if (i + 1 == text.size() || !isLow(text[i + 1])) throw failure;
      code = 0x10000 + (text[i] - 0xD800) * 0x400 + (text[i + 1] - 0xDC00);
      ++i;
    }
    codes += code;
  }
  return codes;
}

}  // namespace

std::u16string fuzz::text::utf16Of(const std::wstring& codes) {
  std::u16string text;
  for (const wchar_t code : codes) {
    if (code > 0x10FFFF) throw std::runtime_error("Invalid multibyte string");
    if (code > 0xFFFF) {
      text += static_cast<char16_t>(0xD800 + (code - 0x10000) / 0x400);
      text += static_cast<char16_t>(0xDC00 + (code - 0x10000) % 0x400);
    } else {
      text += static_cast<char16_t>(code);
    }
  }
  return text;
}

std::u16string fuzz::text::widened(const std::string& text) {
  std::wstring codes(text.size() + 1, L'\0');
  const char* next = text.c_str();
  std::mbstate_t state{};
  const std::size_t count = std::mbsrtowcs(codes.data(), &next, codes.size(), &state);
  const bool endsWithinCharacter = next != nullptr;
  if (count == kFailed || endsWithinCharacter) throw std::runtime_error("Invalid multibyte string");
  codes.resize(count);
  return utf16Of(codes);
}

std::string fuzz::text::narrowed(const std::u16string& text) {
  const std::wstring codes = codesOf(text.c_str());
  std::string bytes(codes.size() * MB_CUR_MAX + 1, '\0');
  const std::size_t count = std::wcstombs(bytes.data(), codes.c_str(), bytes.size());
  if (count == kFailed) throw std::runtime_error("Invalid wide-character string");
  bytes.resize(count);
  return bytes;
}
