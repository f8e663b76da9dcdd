// Messages: collecting arguments, rendering, copying.
#include <benchmark/benchmark.h>

#include <cwchar>
#include <sstream>
#include <string>

#include "MessageInput.h"
#include "QVRLocale.h"
#include "QVRMessage.h"

namespace {

constexpr const wchar16* kFormat = u"Object %1 named %2 has the value %3";

QVRMessage messageOf(const MessageInput<std::u16string>& input) {
  QVRMessage message(kFormat, __FILE__, __LINE__);
  message << input.number << input.text << input.value;
  return message;
}

void buildAndRender(benchmark::State& state) {
  MessageInputs<std::u16string> inputs;
  for (auto _ : state) {
    QVRMessage message = messageOf(inputs.next());
    benchmark::DoNotOptimize(message.scribe());
  }
}
BENCHMARK(buildAndRender)->Name("QVRMessage/buildAndRender");

void build(benchmark::State& state) {
  MessageInputs<std::u16string> inputs;
  for (auto _ : state) benchmark::DoNotOptimize(messageOf(inputs.next()));
}
BENCHMARK(build)->Name("QVRMessage/build");

void render(benchmark::State& state) {
  MessageInputs<std::u16string> inputs;
  QVRMessage message = messageOf(inputs.next());
  for (auto _ : state) benchmark::DoNotOptimize(message.scribe());
}
BENCHMARK(render)->Name("QVRMessage/render");

void copy(benchmark::State& state) {
  MessageInputs<std::u16string> inputs;
  const QVRMessage message = messageOf(inputs.next());
  for (auto _ : state) benchmark::DoNotOptimize(QVRMessage(message));
}
BENCHMARK(copy)->Name("QVRMessage/copy");

void narrowText(benchmark::State& state) {
  const std::string text(20, 'x');
  for (auto _ : state) {
    QVRMessage message(u"No such file: %1", __FILE__, __LINE__);
    message << text;
    benchmark::DoNotOptimize(message.scribe());
  }
}
BENCHMARK(narrowText)->Name("QVRMessage/narrowText");

void manyArguments(benchmark::State& state) {
  std::u16string format;
  for (auto i = 1; i <= state.range(0); ++i) {
    const std::string number = std::to_string(i);
    format.append(1, u'%').append(number.begin(), number.end()).append(1, u' ');
  }
  for (auto _ : state) {
    QVRMessage message(format.c_str(), __FILE__, __LINE__);
    for (auto i = 1; i <= state.range(0); ++i) message << i;
    benchmark::DoNotOptimize(message.scribe());
  }
}
BENCHMARK(manyArguments)->Name("QVRMessage/manyArguments")->Arg(1)->Arg(8)->Arg(32)->Arg(128);

void cSwprintf(benchmark::State& state) {
  MessageInputs<std::wstring> inputs;
  for (auto _ : state) {
    const auto& input = inputs.next();
    wchar_t text[100];
    const int length = std::swprintf(text, 100, L"Object %d named %ls has the value %g",
                                     input.number, input.text.c_str(), input.value);
    benchmark::DoNotOptimize(std::wstring(text, static_cast<std::size_t>(length)));
  }
}
BENCHMARK(cSwprintf)->Name("swprintf/buildAndRender");

void stdStream(benchmark::State& state) {
  MessageInputs<std::wstring> inputs;
  for (auto _ : state) {
    const auto& input = inputs.next();
    std::wostringstream out;
    out << L"Object " << input.number << L" named " << input.text << L" has the value "
        << input.value;
    benchmark::DoNotOptimize(out.str());
  }
}
BENCHMARK(stdStream)->Name("std::wostringstream/buildAndRender");

}  // namespace
