// Wide text is narrowed as wcstombs() does it, in several encodings.
//
// An input is a line with the letter of an encoding and, with a blank between, three numbers:
// the size of the buffer, how many letters to put before the text and how often to repeat it, so
// that it meets the edges of the library's blocks; then the text in UTF-16, the low byte of each
// unit first.
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
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
constexpr unsigned kMaxRepetitions = 200;
constexpr std::size_t kMaxUnitBytes = 4;  // that a unit takes in any of the encodings

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

std::u16string unitsOf(std::string_view bytes) {
  std::u16string units;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    const auto low = static_cast<unsigned char>(bytes[i]);
    const auto high = static_cast<unsigned char>(bytes[i + 1]);
    units += static_cast<char16_t>(high * 256 + low);
  }
  return units;
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
  line.character();
  const std::u16string repeated = unitsOf(input.rest());
  for (unsigned i = 0, end = line.number(kMaxRepetitions); i <= end; ++i) text += repeated;

  check(text, bufferSize);
  const auto narrow = get<char>(text, text.size() * kMaxUnitBytes + 1);
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
