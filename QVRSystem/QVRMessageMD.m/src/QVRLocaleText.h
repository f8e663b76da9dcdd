// How a QVRLocale writes values, for writing them without a string of each.
#pragma once

#include <cstddef>

#include "QVRGrowingText.h"
#include "QVRTypes.h"

namespace qvr::internal {

using WideText = GrowingText<wchar16>;

/// Each appends what put() of a QVRLocale itself writes. Where it throws, a part
/// may have been appended.
void write(WideText& to, long value);
void write(WideText& to, unsigned long value);
void write(WideText& to, double value, unsigned precision);
/// @param text zero-terminated, or at least `count` + 1 bytes.
/// @throws std::runtime_error "Invalid multibyte string"
void write(WideText& to, const char* text, std::size_t count);

}  // namespace qvr::internal
