#include "QVRNumberText.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>

namespace qvr::internal {

namespace {

__extension__ using Wide = unsigned __int128;

constexpr std::uint64_t kPowers[] = {1,
                                     10,
                                     100,
                                     1'000,
                                     10'000,
                                     100'000,
                                     1'000'000,
                                     10'000'000,
                                     100'000'000,
                                     1'000'000'000,
                                     10'000'000'000,
                                     100'000'000'000,
                                     1'000'000'000'000,
                                     10'000'000'000'000,
                                     100'000'000'000'000,
                                     1'000'000'000'000'000};
constexpr int kMostPlainDigits = 15;
constexpr double kLeastPlain = 1e-4;  // what is less has an exponent

// For numbers up to 10^15. 1233 / 4096 is just above the logarithm of 2.
int digitCount(std::uint64_t number) {
  const int atLeast = static_cast<int>(std::bit_width(number)) * 1233 / 4096;
  return atLeast + (number >= kPowers[atLeast] ? 1 : 0);
}

// A decimal number, `digits` over 10 to the power of `decimals`.
struct Decimal {
  std::uint64_t digits;
  int decimals;
};

// The nearest decimal of `count` digits, the even one of two, for a value from
// kLeastPlain up to 10 to the power of `count`. Exact: the value is a whole number
// below 2^53 over a power of two, and that number times 10^18 fits in 128 bits.
Decimal rounded(double value, int count) {
  constexpr int kMantissaBits = 52;
  constexpr std::uint64_t kMantissaEnd = std::uint64_t{1} << kMantissaBits;
  constexpr int kExponentOfMantissa = 1023 + kMantissaBits;
  const auto bits = std::bit_cast<std::uint64_t>(value);
  const int shift = kExponentOfMantissa - static_cast<int>(bits >> kMantissaBits);  // 3 to 66

  int decimals = count - digitCount(static_cast<std::uint64_t>(value));
  Wide scaled = Wide{(bits & (kMantissaEnd - 1)) | kMantissaEnd} * kPowers[decimals];
  for (; scaled >> shift < kPowers[count - 1]; ++decimals) scaled *= 10;

  const Wide half = Wide{1} << (shift - 1);
  scaled += half - 1 + (scaled >> shift & 1);
  return {static_cast<std::uint64_t>(scaled >> shift), decimals};
}

// Writes a decimal of `count` digits without the zeros at its end.
char* write(char* to, char* end, Decimal value, int count) {
  char* const digits = std::fill_n(to, std::max(value.decimals - count + 1, 0), '0');
  char* last = std::to_chars(digits, end, value.digits).ptr;
  int decimals = value.decimals;
  for (; decimals != 0 && last[-1] == '0'; --decimals) --last;
  if (decimals == 0) return last;
  std::copy_backward(last - decimals, last, last + 1);
  last[-decimals] = '.';
  return last + 1;
}

// Writes values that are written without an exponent. @return null, and nothing
// is done, for others and for those that are rounded up to a digit more.
char* writePlain(char* to, char* end, double value, int count) {
  const double magnitude = std::fabs(value);
  if (count > kMostPlainDigits || magnitude < kLeastPlain) return nullptr;
  if (!(magnitude < static_cast<double>(kPowers[count]))) return nullptr;
  const Decimal decimal = rounded(magnitude, count);
  if (decimal.digits == kPowers[count]) return nullptr;
  if (value < 0) *to++ = '-';
  return write(to, end, decimal, count);
}

}  // namespace

char* writeDouble(char* begin, char* end, double value, unsigned precision) {
  constexpr int kDefault = 6;
  constexpr int kMost = 767;  // significant digits of a double
  const int asked = static_cast<int>(precision);
  const int digits = asked < 0 ? kDefault : std::clamp(asked, 1, kMost);
  char* const plain = writePlain(begin, end, value, digits);
  if (plain != nullptr) return plain;
  return std::to_chars(begin, end, value, std::chars_format::general, digits).ptr;
}

}  // namespace qvr::internal
