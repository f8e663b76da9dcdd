// Narrow text into wide strings.
#pragma once

#include <string>

#include "QVRBuildExport.h"

/// Makes `to` the UTF-16 form of `from`, which is in the encoding of the calling
/// thread's locale (LC_CTYPE). Zeros within the text are kept.
/// @throws std::runtime_error "Invalid multibyte string" if `from` is not valid
///   in that encoding or holds a code above U+10FFFF; `to` is as it was.
/// @throws std::bad_alloc if the heap refuses the text; `to` is as it was.
QVRBUILD_API void QVRAssign(std::u16string& to, const std::string& from);
