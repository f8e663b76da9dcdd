// Names of files within lines of text.
#pragma once

#include <string>
#include <string_view>

namespace catalogue {

/// Control characters become \n, \t or \xHH, so that a name stays on its line and
/// does nothing to a terminal; every other byte stays.
std::string printable(std::string_view text);

/// printable(), and where the process's locale cannot read the text, every byte
/// beyond ASCII becomes \xHH too, so that any message can hold it.
std::string printableInLocale(std::string_view text);

}  // namespace catalogue
