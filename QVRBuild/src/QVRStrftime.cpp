#include "QVRStrftime.h"

#include <cstdlib>
#include <cwchar>
#include <string_view>

namespace {

constexpr std::size_t kUsualSize = 256;
constexpr auto kNotConverted = static_cast<std::size_t>(-1);

std::size_t write(char* to, std::size_t size, const char* format, const std::tm& time) {
  return std::strftime(to, size, format, &time);
}

std::size_t write(wchar_t* to, std::size_t size, const wchar_t* format, const std::tm& time) {
  return std::wcsftime(to, size, format, &time);
}

// Nothing written means that the text is empty or that there was no room for it.
// With one character in front no text is empty.
template <class Char>
std::basic_string<Char> longOrEmptyText(const Char* format, const std::tm& time) {
  std::basic_string<Char> marked(1, Char(' '));
  marked += format;
  std::basic_string<Char> text;
  std::size_t length = 0;
  for (std::size_t size = kUsualSize; length == 0; size *= 2) {
    text.resize(size);
    length = write(text.data(), size, marked.c_str(), time);
  }
  return text.substr(1, length - 1);
}

template <class Char>
std::basic_string<Char> formatted(const Char* format, const std::tm& time) {
  Char text[kUsualSize];
  const std::size_t length = write(text, kUsualSize, format, time);
  return length != 0 ? std::basic_string<Char>(text, length) : longOrEmptyText(format, time);
}

constexpr wchar_t kFirstHigh = 0xD800;
constexpr wchar_t kFirstLow = 0xDC00;
constexpr wchar_t kPastLow = 0xE000;
constexpr wchar_t kFirstPaired = 0x10000;

bool isPair(char16_t first, char16_t second) {
  return first >= kFirstHigh && first < kFirstLow && second >= kFirstLow && second < kPastLow;
}

// The C library's wide form reads far beyond the "?" that stands for the name of
// what is no month or weekday; its narrow form does not.
bool hasNames(const std::tm& time) {
  return time.tm_mon >= 0 && time.tm_mon < 12 && time.tm_wday >= 0 && time.tm_wday < 7;
}

std::wstring formattedAsNarrow(const std::wstring& format, const std::tm& time) {
  std::string narrow(format.size() * MB_CUR_MAX + 1, '\0');
  if (std::wcstombs(narrow.data(), format.c_str(), narrow.size()) == kNotConverted) return L"?";
  const std::string text = formatted(narrow.c_str(), time);
  std::wstring wide(text.size() + 1, L'\0');
  const std::size_t length = std::mbstowcs(wide.data(), text.c_str(), wide.size());
  return length == kNotConverted ? L"?" : wide.substr(0, length);
}

// The C library's wide characters are whole code points.
std::wstring toWide(std::u16string_view text) {
  std::wstring result;
  result.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    wchar_t point = text[i];
    if (i + 1 < text.size() && isPair(text[i], text[i + 1])) {
      point = kFirstPaired + ((point - kFirstHigh) << 10) + (text[++i] - kFirstLow);
    }
    result += point;
  }
  return result;
}

std::u16string toUtf16(std::wstring_view text) {
  std::u16string result;
  result.reserve(text.size());
  for (const wchar_t point : text) {
    if (point < kFirstPaired) {
      result += static_cast<char16_t>(point);
    } else {
      result += static_cast<char16_t>(kFirstHigh + ((point - kFirstPaired) >> 10));
      result += static_cast<char16_t>(kFirstLow + ((point - kFirstPaired) & 0x3FF));
    }
  }
  return result;
}

}  // namespace

std::string QVRStrftime(const char* format, const std::tm& time) { return formatted(format, time); }

std::u16string QVRStrftime(const char16_t* format, const std::tm& time) {
  const std::wstring wide = toWide(format);
  return toUtf16(hasNames(time) ? formatted(wide.c_str(), time) : formattedAsNarrow(wide, time));
}
