#include "ZELUnicodeString.h"

#include <charconv>

void ZELUnicodeString::BuildFromNum(std::int64_t number) noexcept {
  *std::to_chars(text_, text_ + kMaxLength, number).ptr = '\0';
}
