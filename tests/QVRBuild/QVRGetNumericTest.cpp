// Which digits count, and what becomes of a number that does not fit.
#include "QVRGetNumeric.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

constexpr std::int32_t kLargest = std::numeric_limits<std::int32_t>::max();

TEST(QVRGetNumericTest, ReadsTheDigitsFromTheStartAndStopsAtTheLargestValue) {
  const struct {
    const char* what;
    std::u16string text;
    std::size_t start;
    int base;
    std::int32_t number;
  } cases[] = {
      {"digits", u"12", 0, 10, 12},
      {"leading zeros", u"0012", 0, 10, 12},
      {"from the middle", u"%123", 2, 10, 23},
      {"up to what is no digit", u"12a3", 0, 10, 12},
      {"up to a digit of a greater base", u"129", 0, 8, 10},
      {"hexadecimal", u"7fFFffff", 0, 16, kLargest},
      {"binary", u"1012", 0, 2, 5},
      {"greatest base", u"zZ", 0, 36, 35 * 36 + 35},
      {"largest", u"2147483647", 0, 10, kLargest},
      {"one too large", u"2147483648", 0, 10, kLargest},
      {"far too large", u"99999999999999999999999999999999", 0, 10, kLargest},
      {"empty", u"", 0, 10, 0},
      {"past the end", u"12", 3, 10, 0},
      {"no digit first", u"x1", 0, 10, 0},
      {"no sign", u"-1", 0, 10, 0},
      {"no blank", u" 1", 0, 10, 0},
      {"between upper and lower case", u"[`", 0, 36, 0},
      {"no digits outside ascii", u"\u0661\uff11", 0, 10, 0},
      {"base too small", u"0", 0, 1, 0},
      {"base too large", u"1", 0, 37, 0},
  };

  for (const auto& c : cases) EXPECT_EQ(QVRGetNumeric(c.text, c.start, c.base), c.number) << c.what;
}

}  // namespace
