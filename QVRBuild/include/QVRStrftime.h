// Times as text, of any length, narrow and wide.
#pragma once

#include <ctime>
#include <string>

#include "QVRBuildExport.h"

/// What strftime() makes of `format` and `time` in the process's locale: a text
/// of any length, the empty one included. In the narrow form both texts are in
/// the locale's encoding.
///
/// The wide form takes and gives UTF-16 and converts none of it through a narrow
/// encoding: whatever stands between the conversions comes out as it is, lone
/// surrogates included. Only a time whose month or weekday has no name goes
/// through the locale's encoding, and is "?" where that has not all characters.
///
/// Any thread may call it. `%Z` and `%s` look at TZ as localtime() does.
/// @throws std::bad_alloc if there is no memory for the text.
QVRBUILD_API std::string QVRStrftime(const char* format, const std::tm& time);
QVRBUILD_API std::u16string QVRStrftime(const char16_t* format, const std::tm& time);
