// Every character through the locale, with iconv beside it.
#include <gtest/gtest.h>
#include <iconv.h>

#include <cctype>
#include <ostream>
#include <stdexcept>
#include <string>

#include "QVRLocale.h"
#include "support/ScopedLocale.h"

namespace {

constexpr std::size_t kFailed = static_cast<std::size_t>(-1);  // of iconv

/// The text of the std::runtime_error that `action` throws.
template <class Action>
std::string runtimeErrorOf(Action action) {
  try {
    action();
  } catch (const std::runtime_error& failure) {
    return failure.what();
  }
  return "none";
}

std::string bytesOf(const std::u16string& text) {
  return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t)};
}

/// Converts text by iconv, there and back.
class Iconv {
 public:
  Iconv(const char* to, const char* from) : handle_(iconv_open(to, from)) {}
  ~Iconv() { iconv_close(handle_); }

  Iconv(const Iconv&) = delete;
  Iconv& operator=(const Iconv&) = delete;

  /// False where the text cannot be converted.
  bool convert(const void* from, std::size_t size, std::string& to) {
    char buffer[64];
    char* in = const_cast<char*>(static_cast<const char*>(from));
    char* out = buffer;
    std::size_t left = sizeof buffer;
    iconv(handle_, nullptr, nullptr, nullptr, nullptr);
    const bool good = iconv(handle_, &in, &size, &out, &left) != kFailed &&
                      iconv(handle_, nullptr, nullptr, &out, &left) != kFailed;
    to.assign(buffer, out);
    return good;
  }

 private:
  const iconv_t handle_;
};

std::u16string unitsOf(char32_t code) {
  if (code < 0x10000) return {static_cast<char16_t>(code)};
  return {static_cast<char16_t>(0xD7C0 + (code >> 10)),
          static_cast<char16_t>(0xDC00 + (code & 0x3FF))};
}

struct Encoded {
  const char* locale;
  const char* codeset;
};

void PrintTo(const Encoded& encoded, std::ostream* out) { *out << encoded.locale; }

class QVRLocaleEncodingTest : public testing::TestWithParam<Encoded> {};

INSTANTIATE_TEST_SUITE_P(
    , QVRLocaleEncodingTest,
    testing::Values(Encoded{"C", "ANSI_X3.4-1968"}, Encoded{"C.UTF-8", "UTF-8"},
                    Encoded{"de_DE.ISO-8859-1", "ISO-8859-1"}, Encoded{"de_DE.UTF-8", "UTF-8"},
                    Encoded{"en_US.UTF-8", "UTF-8"}, Encoded{"ja_JP.EUC-JP", "EUC-JP"},
                    Encoded{"tr_TR.UTF-8", "UTF-8"}, Encoded{"zh_CN.GB18030", "GB18030"},
                    Encoded{"zh_HK.BIG5-HKSCS", "BIG5-HKSCS"}),
    [](const auto& instance) {
      std::string name = instance.param.locale;
      for (char& c : name) c = std::isalnum(static_cast<unsigned char>(c)) != 0 ? c : '_';
      return name;
    });

TEST_P(QVRLocaleEncodingTest, EveryScalarValueIsNarrowedAndWidenedAsIconvDoesIt) {
  const ScopedLocale locale(GetParam().locale);
  Iconv narrow(GetParam().codeset, "UTF-16LE");
  Iconv widen("UTF-16LE", GetParam().codeset);
  const QVRLocale& converter = QVRLocale::global();
  std::string bytes;
  std::string wideBytes;
  std::u16string wide;
  long narrowable = 0;

  for (char32_t code = 1; code <= 0x10FFFF; ++code) {
    if (code == 0xD800) code = 0xE000;
    const std::u16string units = unitsOf(code);
    char buffer[32];
    if (!narrow.convert(units.data(), units.size() * 2, bytes)) {
      // Outside the basic plane a sample: a refusal takes its time.
      if (code < 0x10000 || code % 61 == 0) {
        ASSERT_EQ(runtimeErrorOf([&] { converter.get(units, buffer, sizeof buffer); }),
                  "Invalid wide-character string")
            << std::hex << static_cast<unsigned>(code);
      }
      continue;
    }
    ++narrowable;
    converter.get(units, buffer, sizeof buffer);
    ASSERT_EQ(buffer, bytes) << std::hex << static_cast<unsigned>(code);
    ASSERT_TRUE(widen.convert(bytes.data(), bytes.size(), wideBytes));
    converter.put(wide, buffer, bytes.size());
    ASSERT_EQ(bytesOf(wide), wideBytes) << std::hex << static_cast<unsigned>(code);
  }
  EXPECT_GE(narrowable, 127);
}

TEST_P(QVRLocaleEncodingTest, EveryPairOfBytesIsWidenedOrRefusedAsIconvDoesIt) {
  const ScopedLocale locale(GetParam().locale);
  Iconv widen("UTF-16LE", GetParam().codeset);
  std::string wideBytes;
  for (int pair = 0x0101; pair <= 0xFFFF; ++pair) {
    const std::string text = {static_cast<char>(pair >> 8), static_cast<char>(pair)};
    if (text[1] == '\0') continue;
    std::u16string wide;
    const auto put = [&] { QVRLocale::global().put(wide, text.c_str(), text.size()); };
    if (widen.convert(text.data(), text.size(), wideBytes)) {
      put();
      ASSERT_EQ(bytesOf(wide), wideBytes) << std::hex << pair;
    } else {
      ASSERT_EQ(runtimeErrorOf(put), "Invalid multibyte string") << std::hex << pair;
    }
  }
}

}  // namespace
