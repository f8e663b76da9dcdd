#include "Locales.h"

#include <locale.h>

#include <cstdlib>

#include "Property.h"

namespace {

struct Encoding {
  char letter;
  const char* name;
  fuzz::Mapping mapping;
  locale_t locale;
};

constexpr auto kOneToOne = fuzz::Mapping::kOneToOne;
constexpr auto kManyToOne = fuzz::Mapping::kManyToOne;

Encoding encodings[] = {
    {'U', "C.UTF-8", kOneToOne, nullptr},          {'C', "C", kOneToOne, nullptr},
    {'D', "de_DE.ISO-8859-1", kOneToOne, nullptr}, {'J', "ja_JP.EUC-JP", kManyToOne, nullptr},
    {'G', "zh_CN.GB18030", kManyToOne, nullptr},   {'B', "zh_HK.BIG5-HKSCS", kManyToOne, nullptr},
};

bool makeLocales() {
  setenv("LOCPATH", QVR_FUZZ_LOCALES, 1);
  for (Encoding& encoding : encodings) {
    encoding.locale = newlocale(LC_ALL_MASK, encoding.name, nullptr);
    fuzz::expect(encoding.name, encoding.locale != nullptr);
  }
  return true;
}

}  // namespace

fuzz::Mapping fuzz::useLocale(char letter) {
  [[maybe_unused]] static const bool areMade = makeLocales();
  const Encoding* chosen = encodings;
  for (const Encoding& encoding : encodings) {
    if (encoding.letter == letter) chosen = &encoding;
  }
  uselocale(chosen->locale);
  return chosen->mapping;
}
