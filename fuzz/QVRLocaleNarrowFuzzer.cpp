// Wide text is narrowed as wcstombs() does it, in several encodings.
//
// An input is a line with the letter of an encoding, the size of the buffer, a blank and how
// many letters to put before the text, so that it meets the edges of the library's blocks;
// then the text in UTF-16, the low byte of each unit first.
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "Input.h"
#include "Locales.h"
#include "Property.h"
#include "QVRLocale.h"
#include "TextModel.h"

namespace {

using fuzz::expect;
using fuzz::expectEqual;
using fuzz::Outcome;

constexpr unsigned kMaxSize = 16384;
constexpr unsigned kMaxPadding = 4096;
constexpr std::size_t kEnough = 65536;

/// What get() writes to a buffer of that size; a failure leaves it alone.
template <class Char>
Outcome<std::basic_string<Char>> get(const std::u16string& text, std::size_t size) {
  std::vector<Char> buffer(size, Char{'?'});
  const std::vector<Char> before = buffer;
  const auto outcome = fuzz::outcomeOf([&] {
    QVRLocale::global().get(text, buffer.data(), size);
    return std::basic_string<Char>(buffer.data());
  });
  if (!outcome.failure.empty()) expect("buffer of a failure", buffer == before);
  return outcome;
}

void checkRoom(std::size_t length, std::size_t size) {
  if (length >= size) throw std::length_error("Output buffer too small");
}

std::string narrowed(const std::u16string& text, std::size_t size) {
  const std::string narrow = fuzz::text::narrowed(text);
  checkRoom(narrow.size(), size);
  return narrow;
}

std::u16string copied(const std::u16string& text, std::size_t size) {
  checkRoom(text.size(), size);
  return text.c_str();
}

void checkWidenedBack(const std::string& narrow, const std::u16string& text) {
  std::u16string wide;
  QVRLocale::global().put(wide, narrow.c_str(), narrow.size());
  expectEqual("widened back", wide, text.c_str());
}

void check(const std::u16string& text, std::size_t size) {
  expectEqual("narrowed", get<char>(text, size),
              fuzz::outcomeOf([&] { return narrowed(text, size); }));
  expectEqual("copied", get<char16_t>(text, size),
              fuzz::outcomeOf([&] { return copied(text, size); }));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  fuzz::Input line(input.line());
  const fuzz::Mapping mapping = fuzz::useLocale(line.character());
  const std::size_t bufferSize = line.number(kMaxSize);
  line.character();
  std::u16string text(line.number(kMaxPadding), u'a');
  while (!input.isAtEnd()) {
    const auto low = static_cast<unsigned char>(input.character());
    const auto high = static_cast<unsigned char>(input.character());
    text += static_cast<char16_t>(high * 256 + low);
  }

  check(text, bufferSize);
  const auto narrow = get<char>(text, kEnough);
  expectEqual("narrowed", narrow, fuzz::outcomeOf([&] { return fuzz::text::narrowed(text); }));
  if (!narrow.failure.empty()) return 0;
  // A buffer that just fits, and one that just does not.
  check(text, narrow.value.size());
  check(text, narrow.value.size() + 1);
  expectEqual("length", QVRLocale::global().length(text.c_str()),
              std::u16string(text.c_str()).size());
  if (mapping == fuzz::Mapping::kOneToOne) checkWidenedBack(narrow.value, text);
  return 0;
}
