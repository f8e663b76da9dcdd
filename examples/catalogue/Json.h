// Texts within JSON.
#pragma once

#include <string>
#include <string_view>

namespace catalogue {

/// The text as a JSON string, quotes included. Well-formed UTF-8 stays; any other
/// byte 0xHH becomes the escape \u00HH, as control characters do. No other
/// escape beyond ASCII is ever written, so that it can be told from a character.
std::string quoteJson(std::string_view text);

}  // namespace catalogue
