// UTF-8 to UTF-16 and back, as packaged libraries do it.
#include <benchmark/benchmark.h>
#include <unicode/ustring.h>

#include <QString>
#include <boost/locale/encoding_utf.hpp>
#include <cstdlib>
#include <string>
#include <vector>

#include "LocaleInput.h"

namespace {

void widenByQt(benchmark::State& state, const std::string& text) {
  for (auto _ : state) {
    const QString wide = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    benchmark::DoNotOptimize(wide.constData());
    benchmark::ClobberMemory();
  }
}

void narrowByQt(benchmark::State& state, const std::string& text) {
  const QString wide = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
  for (auto _ : state) {
    const QByteArray narrow = wide.toUtf8();
    benchmark::DoNotOptimize(narrow.constData());
    benchmark::ClobberMemory();
  }
}

// Into a buffer that is large enough, which ICU prefers.
void widenByIcu(benchmark::State& state, const std::string& text) {
  std::vector<UChar> wide(text.size() + 1);
  for (auto _ : state) {
    UErrorCode error = U_ZERO_ERROR;
    std::int32_t length;
    u_strFromUTF8(wide.data(), static_cast<std::int32_t>(wide.size()), &length, text.data(),
                  static_cast<std::int32_t>(text.size()), &error);
    if (U_FAILURE(error)) std::abort();
    benchmark::DoNotOptimize(wide.data());
    benchmark::ClobberMemory();
  }
}

void narrowByIcu(benchmark::State& state, const std::string& text) {
  std::vector<UChar> wide(text.size() + 1);
  std::vector<char> narrow(text.size() + 1);
  UErrorCode error = U_ZERO_ERROR;
  std::int32_t units;
  u_strFromUTF8(wide.data(), static_cast<std::int32_t>(wide.size()), &units, text.data(),
                static_cast<std::int32_t>(text.size()), &error);
  for (auto _ : state) {
    std::int32_t length;
    u_strToUTF8(narrow.data(), static_cast<std::int32_t>(narrow.size()), &length, wide.data(),
                units, &error);
    if (U_FAILURE(error)) std::abort();
    benchmark::DoNotOptimize(narrow.data());
    benchmark::ClobberMemory();
  }
}

void widenByBoost(benchmark::State& state, const std::string& text) {
  for (auto _ : state) {
    const auto wide = boost::locale::conv::utf_to_utf<char16_t>(text);
    benchmark::DoNotOptimize(wide.data());
    benchmark::ClobberMemory();
  }
}

void narrowByBoost(benchmark::State& state, const std::string& text) {
  const auto wide = boost::locale::conv::utf_to_utf<char16_t>(text);
  for (auto _ : state) {
    const auto narrow = boost::locale::conv::utf_to_utf<char>(wide);
    benchmark::DoNotOptimize(narrow.data());
    benchmark::ClobberMemory();
  }
}

[[maybe_unused]] const bool registered = [] {
  locale_input::add("QString/widen", &widenByQt);
  locale_input::add("QString/narrow", &narrowByQt);
  locale_input::add("ICU/widen", &widenByIcu);
  locale_input::add("ICU/narrow", &narrowByIcu);
  locale_input::add("Boost.Locale/widen", &widenByBoost);
  locale_input::add("Boost.Locale/narrow", &narrowByBoost);
  return true;
}();

}  // namespace
