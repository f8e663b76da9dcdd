// Numbers as text.
#include "ZELUnicodeString.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace {

TEST(ZELUnicodeStringTest, IsEmptyAtFirst) { EXPECT_STREQ(ZELUnicodeString().ConvertToChar(), ""); }

TEST(ZELUnicodeStringTest, HoldsTheLastNumberInDecimal) {
  const struct {
    std::int64_t number;
    const char* text;
  } cases[] = {{std::numeric_limits<std::int64_t>::min(), "-9223372036854775808"},
               {0, "0"},
               {-1, "-1"},
               {4294967295, "4294967295"},
               {std::numeric_limits<std::int64_t>::max(), "9223372036854775807"},
               {7, "7"}};
  ZELUnicodeString text;
  for (const auto& c : cases) {
    text.BuildFromNum(c.number);
    EXPECT_STREQ(text.ConvertToChar(), c.text);
  }
}

}  // namespace
