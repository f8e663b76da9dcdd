// A number as text.
#pragma once

#include <cstdint>

#include "ZELKernelExport.h"

/// The decimal text of a number, within the object. Throws nothing.
class ZELKERNEL_API ZELUnicodeString {
 public:
  /// Makes it the text of `number`: a "-" where it is negative, and its digits.
  void BuildFromNum(std::int64_t number) noexcept;

  /// The text, empty before the first BuildFromNum(); valid until the next.
  const char* ConvertToChar() const noexcept { return text_; }

 private:
  static constexpr int kMaxLength = 20;  // of the smallest number

  char text_[kMaxLength + 1] = "";
};
