#include "Json.h"

#include <algorithm>
#include <cstddef>

namespace catalogue {
namespace {

unsigned codeOf(char byte) { return static_cast<unsigned char>(byte); }

/// Lead bytes of characters of `length` bytes, and what may follow them: the
/// limits leave out overlong forms, surrogates and codes above U+10FFFF.
struct Utf8Row {
  unsigned firstLead, lastLead;
  unsigned firstSecond, lastSecond;
  std::size_t length;
};

constexpr Utf8Row kUtf8Rows[] = {
    {0x00, 0x7F, 0x00, 0x00, 1}, {0xC2, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3},
    {0xE1, 0xEC, 0x80, 0xBF, 3}, {0xED, 0xED, 0x80, 0x9F, 3}, {0xEE, 0xEF, 0x80, 0xBF, 3},
    {0xF0, 0xF0, 0x90, 0xBF, 4}, {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4},
};

bool isWithin(char byte, unsigned first, unsigned last) {
  return codeOf(byte) >= first && codeOf(byte) <= last;
}

bool startsWith(std::string_view text, const Utf8Row& row) {
  if (text.size() < row.length || !isWithin(text[0], row.firstLead, row.lastLead)) return false;
  if (row.length > 1 && !isWithin(text[1], row.firstSecond, row.lastSecond)) return false;
  const std::string_view rest =
      text.substr(0, row.length).substr(std::min<std::size_t>(row.length, 2));
  return std::all_of(rest.begin(), rest.end(),
                     [](char byte) { return isWithin(byte, 0x80, 0xBF); });
}

/// Bytes of the well-formed UTF-8 character that a text, not empty, begins with; 0
/// if it does not.
std::size_t characterLength(std::string_view text) {
  for (const Utf8Row& row : kUtf8Rows) {
    if (startsWith(text, row)) return row.length;
  }
  return 0;
}

void appendEscaped(std::string& json, char byte) {
  constexpr char kDigits[] = "0123456789abcdef";
  json += "\\u00";
  json += kDigits[codeOf(byte) >> 4];
  json += kDigits[codeOf(byte) & 15];
}

}  // namespace

std::string quoteJson(std::string_view text) {
  std::string json = "\"";
  while (!text.empty()) {
    const std::size_t length = characterLength(text);
    if (length == 0 || codeOf(text[0]) < ' ') {
      appendEscaped(json, text[0]);
    } else {
      if (text[0] == '"' || text[0] == '\\') json += '\\';
      json += text.substr(0, length);
    }
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return json += '"';
}

}  // namespace catalogue
