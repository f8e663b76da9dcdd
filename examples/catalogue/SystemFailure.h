// Refusals of the system as exceptions of the library.
#pragma once

#include <system_error>

#include "QVRTypes.h"

namespace catalogue {

/// @param text with a place for the system's own words.
/// @throws QVREAccessDenied where a permission lacks, otherwise QVREIOError.
[[noreturn]] void throwSystemFailure(const wchar16* text, const std::error_code& reason,
                                     const char* source, int line);

}  // namespace catalogue
