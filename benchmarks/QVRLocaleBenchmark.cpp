// UTF-8 to UTF-16 and back through the locale, and what the C library offers.
#include "QVRLocale.h"

#include <benchmark/benchmark.h>
#include <iconv.h>

#include <clocale>
#include <cstdlib>
#include <string>
#include <vector>

#include "LocaleInput.h"

namespace {

// Each round makes its result anew, as a message does, and its peers here do too.
void widenByLocale(benchmark::State& state, const std::string& text) {
  const QVRLocale& locale = QVRLocale::global();
  for (auto _ : state) {
    std::u16string wide;
    locale.put(wide, text.c_str(), text.size());
    benchmark::DoNotOptimize(wide.data());
    benchmark::ClobberMemory();
  }
}

void narrowByLocale(benchmark::State& state, const std::string& text) {
  const QVRLocale& locale = QVRLocale::global();
  std::u16string wide;
  locale.put(wide, text.c_str(), text.size());
  std::vector<char> buffer(text.size() + 1);
  for (auto _ : state) {
    locale.get(wide, buffer.data(), buffer.size());
    benchmark::DoNotOptimize(buffer.data());
    benchmark::ClobberMemory();
  }
}

void widenByMbstowcs(benchmark::State& state, const std::string& text) {
  std::vector<wchar_t> wide(text.size() + 1);
  for (auto _ : state) {
    benchmark::DoNotOptimize(std::mbstowcs(wide.data(), text.c_str(), wide.size()));
    benchmark::ClobberMemory();
  }
}

void narrowByWcstombs(benchmark::State& state, const std::string& text) {
  std::vector<wchar_t> wide(text.size() + 1);
  std::vector<char> narrow(text.size() + 1);
  if (std::mbstowcs(wide.data(), text.c_str(), wide.size()) > text.size()) std::abort();
  for (auto _ : state) {
    benchmark::DoNotOptimize(std::wcstombs(narrow.data(), wide.data(), narrow.size()));
    benchmark::ClobberMemory();
  }
}

// @return how many bytes were written.
std::size_t convert(iconv_t handle, const char* from, std::size_t size, std::vector<char>& to) {
  char* in = const_cast<char*>(from);
  char* out = to.data();
  std::size_t left = to.size();
  if (iconv(handle, &in, &size, &out, &left) != 0) std::abort();
  return to.size() - left;
}

void widenByIconv(benchmark::State& state, const std::string& text) {
  const iconv_t handle = iconv_open("UTF-16LE", "UTF-8");
  std::vector<char> wide(text.size() * 2);
  for (auto _ : state) {
    benchmark::DoNotOptimize(convert(handle, text.data(), text.size(), wide));
    benchmark::ClobberMemory();
  }
  iconv_close(handle);
}

void narrowByIconv(benchmark::State& state, const std::string& text) {
  const iconv_t widening = iconv_open("UTF-16LE", "UTF-8");
  const iconv_t handle = iconv_open("UTF-8", "UTF-16LE");
  std::vector<char> wide(text.size() * 2);
  std::vector<char> narrow(text.size());
  const std::size_t size = convert(widening, text.data(), text.size(), wide);
  for (auto _ : state) {
    benchmark::DoNotOptimize(convert(handle, wide.data(), size, narrow));
    benchmark::ClobberMemory();
  }
  iconv_close(handle);
  iconv_close(widening);
}

[[maybe_unused]] const bool registered = [] {
  if (std::setlocale(LC_ALL, "C.UTF-8") == nullptr) std::abort();
  locale_input::add("QVRLocale/widen", &widenByLocale);
  locale_input::add("QVRLocale/narrow", &narrowByLocale);
  locale_input::add("mbstowcs/widen", &widenByMbstowcs);
  locale_input::add("wcstombs/narrow", &narrowByWcstombs);
  locale_input::add("iconv/widen", &widenByIconv);
  locale_input::add("iconv/narrow", &narrowByIconv);
  return true;
}();

}  // namespace
