// The same messages from the packaged libraries.
#include <Poco/Format.h>
#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <fmt/xchar.h>
#include <unicode/msgfmt.h>

#include <QString>
#include <boost/format.hpp>
#include <string>

#include "MessageInput.h"

namespace {

void fmtWide(benchmark::State& state) {
  MessageInputs<std::wstring> inputs;
  const std::wstring format = L"Object {} named {} has the value {}";
  for (auto _ : state) {
    const auto& input = inputs.next();
    benchmark::DoNotOptimize(
        fmt::format(fmt::runtime(format), input.number, input.text, input.value));
  }
}
BENCHMARK(fmtWide)->Name("fmt/buildAndRender");

void qString(benchmark::State& state) {
  MessageInputs<std::u16string> inputs;
  const QString format = QStringLiteral("Object %1 named %2 has the value %3");
  for (auto _ : state) {
    const auto& input = inputs.next();
    benchmark::DoNotOptimize(
        format.arg(QString::number(input.number), input.text, QString::number(input.value)));
  }
}
BENCHMARK(qString)->Name("QString/buildAndRender");

void qStringChain(benchmark::State& state) {
  MessageInputs<std::u16string> inputs;
  const QString format = QStringLiteral("Object %1 named %2 has the value %3");
  for (auto _ : state) {
    const auto& input = inputs.next();
    benchmark::DoNotOptimize(format.arg(input.number).arg(input.text).arg(input.value));
  }
}
BENCHMARK(qStringChain)->Name("QString (one call for each)/buildAndRender");

void boostFormat(benchmark::State& state) {
  MessageInputs<std::wstring> inputs;
  for (auto _ : state) {
    const auto& input = inputs.next();
    benchmark::DoNotOptimize((boost::wformat(L"Object %1% named %2% has the value %3%") %
                              input.number % input.text % input.value)
                                 .str());
  }
}
BENCHMARK(boostFormat)->Name("Boost.Format/buildAndRender");

void icuMessage(benchmark::State& state) {
  MessageInputs<std::u16string> inputs;
  const icu::UnicodeString pattern(u"Object {0} named {1} has the value {2}");
  UErrorCode status = U_ZERO_ERROR;
  for (auto _ : state) {
    const auto& input = inputs.next();
    const icu::Formattable arguments[] = {input.number, icu::UnicodeString(input.text.c_str()),
                                          input.value};
    icu::UnicodeString text;
    benchmark::DoNotOptimize(icu::MessageFormat::format(pattern, arguments, 3, text, status));
  }
  if (U_FAILURE(status) != 0) state.SkipWithError(u_errorName(status));
}
BENCHMARK(icuMessage)->Name("ICU/buildAndRender");

void pocoFormat(benchmark::State& state) {
  MessageInputs<std::string> inputs;
  const std::string format = "Object %d named %s has the value %g";
  for (auto _ : state) {
    const auto& input = inputs.next();
    benchmark::DoNotOptimize(Poco::format(format, input.number, input.text, input.value));
  }
}
BENCHMARK(pocoFormat)->Name("Poco/buildAndRender");

}  // namespace
