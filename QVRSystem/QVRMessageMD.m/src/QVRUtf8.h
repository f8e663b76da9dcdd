// UTF-8 to UTF-16 and back.
#pragma once

#include <cstddef>

// Tests compile the source once more without the processor's own instructions,
// in another namespace.
#ifndef QVR_UTF8
#define QVR_UTF8 utf8
#endif

/// Conversions between texts whose ends are known. Nothing here throws.
namespace qvr::QVR_UTF8 {

/// How far a text was widened.
struct Widened {
  const char* text;
  char16_t* to;
};

/// Widens the ASCII at the head of [text, end), up to the first byte that is none.
/// @param to where the units go, with room for one per byte of the whole text;
///   what lies behind the last may have been written to.
Widened widenAscii(const char* text, const char* end, char16_t* to) noexcept;

/// Widens what is well-formed UTF-8 at the head of [text, end), up to the first
/// character that is ill-formed, a surrogate, above U+10FFFF or cut by the end.
/// @param to as for widenAscii().
Widened widen(const char* text, const char* end, char16_t* to) noexcept;

/// How long the character at the head of a zero-terminated text is.
/// @return 1 to 4; 0 where it is ill-formed, a surrogate or above U+10FFFF.
std::size_t characterLength(const char* text) noexcept;

struct Measure {
  const char16_t* end;  // behind what can be narrowed
  std::size_t bytes;    // that it takes in UTF-8
};

/// Measures [text, end) up to its first zero or lone surrogate.
Measure measure(const char16_t* text, const char16_t* end) noexcept;

/// Narrows [text, end), in which there is nothing but ASCII: one byte per unit.
/// @return behind the last byte.
char* narrowAscii(const char16_t* text, const char16_t* end, char* to) noexcept;

/// Narrows [text, end), in which there is neither a zero nor a lone surrogate.
/// @param to with room for the bytes that were measured and one more; it may be
///   written to.
/// @return behind the last byte.
char* narrow(const char16_t* text, const char16_t* end, char* to) noexcept;

}  // namespace qvr::QVR_UTF8
