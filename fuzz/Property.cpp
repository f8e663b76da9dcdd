#include "Property.h"

#include <cstdio>
#include <cstdlib>

namespace {

template <class Char>
std::string quoted(std::basic_string_view<Char> text) {
  std::string quoted = "\"";
  for (const Char c : text) {
    const auto unit = static_cast<std::make_unsigned_t<Char>>(c);
    char piece[8];
    const bool isPlain = unit >= ' ' && unit < 0x7F && unit != '"' && unit != '\\';
    std::snprintf(piece, sizeof piece, isPlain ? "%c" : "\\x%X.", unsigned{unit});
    quoted += piece;
  }
  return quoted += '"';
}

}  // namespace

std::string fuzz::shown(std::string_view text) { return quoted(text); }

std::string fuzz::shown(std::u16string_view text) { return quoted(text); }

std::string fuzz::shown(const std::vector<std::string>& texts) {
  std::string all;
  for (const std::string& text : texts) all += shown(text) + ' ';
  return all;
}

void fuzz::reportFinding(const char* what, const std::string& actual, const std::string& expected) {
  std::fprintf(stderr, "%s\n  is:        %s\n  should be: %s\n", what, actual.c_str(),
               expected.c_str());
  std::abort();
}
