// Narrow text is widened and counted as the C library does it, in several encodings.
//
// An input is a line with the letter of an encoding and, with a blank between, three numbers:
// a limit, how many letters to put before the text and how often to repeat it, so that it meets
// the edges of the library's blocks; then the text.
#include <cstdint>
#include <cstdlib>
#include <cwchar>
#include <stdexcept>
#include <string>

#include "Input.h"
#include "Locales.h"
#include "Property.h"
#include "QVRAssign.h"
#include "QVRLocale.h"
#include "TextModel.h"
#include "tests/support/GuardedText.h"

namespace {

using fuzz::expectEqual;
using fuzz::Outcome;

constexpr unsigned kMaxLimit = 131072;
constexpr unsigned kMaxPadding = 4096;
constexpr unsigned kMaxRepetitions = 200;

/// What fits `limit` units, read character by character: nothing behind is looked at.
std::u16string widenedUpTo(const std::string& text, std::size_t limit) {
  std::u16string wide;
  std::mbstate_t state{};
  const char* const end = text.c_str() + text.size() + 1;
  for (const char* next = text.c_str(); wide.size() < limit;) {
    wchar_t code;
    const auto left = static_cast<std::size_t>(end - next);
    const std::size_t length = std::mbrtowc(&code, next, left, &state);
    if (length > left) throw std::runtime_error("Invalid multibyte string");
    const std::u16string units = fuzz::text::utf16Of({code});
    if (code == L'\0' || wide.size() + units.size() > limit) break;
    wide += units;
    next += length;
  }
  return wide;
}

std::size_t counted(const char* text, std::size_t maxBytes) {
  if (MB_CUR_MAX <= 1) return std::string(text).size();
  std::size_t count = 0;
  std::size_t position = 0;
  for (; position < maxBytes && text[position] != '\0'; ++count) {
    const int length = std::mblen(text + position, MB_CUR_MAX);
    if (length < 1) throw std::runtime_error("Invalid multibyte character");
    position += static_cast<std::size_t>(length);
  }
  if (position > maxBytes) throw std::runtime_error("Invalid multibyte string");
  return count;
}

/// What put() makes of a text; a failure leaves the target alone.
Outcome<std::u16string> put(const GuardedText& text, std::size_t count) {
  std::u16string out = u"before";
  const auto outcome = fuzz::outcomeOf([&] {
    QVRLocale::global().put(out, text.get(), count);
    return out;
  });
  if (!outcome.failure.empty()) expectEqual("target of a failure", out, u"before");
  return outcome;
}

/// Each piece between zeros by itself.
std::u16string assigned(const std::string& text) {
  const std::string ended = text + '\0';
  std::u16string wide;
  fuzz::Input rest(ended);
  while (!rest.isAtEnd()) wide += fuzz::text::widened(std::string(rest.until('\0'))) + u'\0';
  wide.pop_back();
  return wide;
}

void checkAssigned(const std::string& text) {
  const auto actual = fuzz::outcomeOf([&] {
    std::u16string out = u"before";
    QVRAssign(out, text);
    return out;
  });
  expectEqual("assigned", actual, fuzz::outcomeOf([&] { return assigned(text); }));
}

void checkNarrowedBack(const std::u16string& wide, const std::string& text) {
  std::string narrow(text.size() + 1, '?');
  QVRLocale::global().get(wide, narrow.data(), narrow.size());
  expectEqual("narrowed back", std::string(narrow.c_str()), text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  fuzz::Input line(input.line());
  const fuzz::Mapping mapping = fuzz::useLocale(line.character());
  const std::size_t limit = line.number(kMaxLimit);
  line.character();
  std::string text(line.number(kMaxPadding), 'a');
  line.character();
  for (unsigned i = 0, end = line.number(kMaxRepetitions); i <= end; ++i) text += input.rest();
  checkAssigned(text);
  text = text.c_str();
  const GuardedText guarded(text);

  const auto whole = put(guarded, text.size());
  expectEqual("widened", whole, fuzz::outcomeOf([&] { return fuzz::text::widened(text); }));
  expectEqual("widened up to a limit", put(guarded, limit),
              fuzz::outcomeOf([&] { return widenedUpTo(text, limit + 1); }));
  expectEqual("counted",
              fuzz::outcomeOf([&] { return QVRLocale::global().length(guarded.get(), limit); }),
              fuzz::outcomeOf([&] { return counted(guarded.get(), limit); }));
  if (whole.failure.empty() && mapping == fuzz::Mapping::kOneToOne) {
    checkNarrowedBack(whole.value, text);
  }
  return 0;
}
