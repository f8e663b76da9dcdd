#include "Printable.h"

#include <stdexcept>

#include "QVRLocale.h"

namespace catalogue {
namespace {

constexpr unsigned char kDelete = 0x7F;

bool isControl(char byte) {
  const auto code = static_cast<unsigned char>(byte);
  return code < ' ' || code == kDelete;
}

bool isAscii(char byte) { return static_cast<unsigned char>(byte) <= kDelete; }

void appendEscaped(std::string& text, char byte) {
  constexpr char kDigits[] = "0123456789abcdef";
  const auto code = static_cast<unsigned char>(byte);
  if (byte == '\n') {
    text += "\\n";
  } else if (byte == '\t') {
    text += "\\t";
  } else {
    text += {'\\', 'x', kDigits[code >> 4], kDigits[code & 15]};
  }
}

template <class Predicate>
std::string escapeWhere(std::string_view text, Predicate isEscaped) {
  std::string result;
  for (const char byte : text) {
    if (isEscaped(byte)) {
      appendEscaped(result, byte);
    } else {
      result += byte;
    }
  }
  return result;
}

bool isReadableInLocale(const std::string& text) {
  try {
    std::u16string wide;
    QVRLocale::global().put(wide, text.c_str(), text.size());
    return true;
  } catch (const std::runtime_error&) {
    return false;
  }
}

}  // namespace

std::string printable(std::string_view text) { return escapeWhere(text, isControl); }

std::string printableInLocale(std::string_view text) {
  std::string escaped = printable(text);
  if (isReadableInLocale(escaped)) return escaped;
  return escapeWhere(escaped, [](char byte) { return !isAscii(byte); });
}

}  // namespace catalogue
