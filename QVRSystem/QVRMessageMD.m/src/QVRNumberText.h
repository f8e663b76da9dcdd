// Floating-point numbers as text.
#pragma once

namespace qvr::internal {

/// As a stream of the classic locale writes it with this precision.
/// @param end behind room for 800 characters, or for 24 with a precision up to 15.
/// @return the end of the text.
char* writeDouble(char* begin, char* end, double value, unsigned precision);

}  // namespace qvr::internal
