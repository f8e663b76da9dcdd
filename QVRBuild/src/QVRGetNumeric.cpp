#include "QVRGetNumeric.h"

#include <limits>

namespace {

constexpr int kLeastBase = 2;
constexpr int kGreatestBase = 36;

/// The value of a digit; what is none is too large for every base.
int digitValue(char16_t unit) {
  if (unit >= u'0' && unit <= u'9') return unit - u'0';
  if (unit >= u'a' && unit <= u'z') return unit - u'a' + 10;
  if (unit >= u'A' && unit <= u'Z') return unit - u'A' + 10;
  return kGreatestBase;
}

}  // namespace

std::int32_t QVRGetNumeric(const std::u16string& text, std::size_t start, int base) noexcept {
  constexpr std::int32_t kLargest = std::numeric_limits<std::int32_t>::max();
  if (base < kLeastBase || base > kGreatestBase) return 0;

  std::int64_t number = 0;
  for (std::size_t i = start; i < text.size() && digitValue(text[i]) < base; ++i) {
    number = number * base + digitValue(text[i]);
    if (number > kLargest) return kLargest;
  }
  return static_cast<std::int32_t>(number);
}
