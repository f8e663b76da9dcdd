// Text between the encoding of the locale and UTF-16, by the C library's mbsrtowcs() and
// wcstombs(). Its mbstowcs() passes over a character that the end cuts short, in some
// encodings and not in others.
#pragma once

#include <string>

namespace fuzz::text {

/// @throws std::runtime_error "Invalid multibyte string" if a code has no UTF-16.
std::u16string utf16Of(const std::wstring& codes);

/// The text up to its first zero.
/// @throws std::runtime_error "Invalid multibyte string".
std::u16string widened(const std::string& text);

/// The text up to its first zero.
/// @throws std::runtime_error "Invalid wide-character string".
std::string narrowed(const std::u16string& text);

}  // namespace fuzz::text
