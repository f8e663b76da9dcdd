// Numbers in wide text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "QVRBuildExport.h"

/// The number that the digits of `base` from `start` on form, up to the first
/// character that is none: "0" to "9", then letters of either case. 2147483647
/// where the number is larger; 0 where there is no digit, where `start` is past
/// the end, or where `base` is not 2 to 36. Never throws.
QVRBUILD_API std::int32_t QVRGetNumeric(const std::u16string& text, std::size_t start,
                                        int base) noexcept;
