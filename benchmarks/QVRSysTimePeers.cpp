// The same text from the packaged libraries.
#include <fmt/chrono.h>

#include <QString>
#include <QTime>

#include "QVRSysTimeBenchmark.h"

namespace {

void fmtText(benchmark::State& state) {
  writeEach(
      state,
      [](int milliseconds) {
        std::tm time{};
        time.tm_hour = milliseconds / 3600000;
        time.tm_min = milliseconds / 60000 % 60;
        time.tm_sec = milliseconds / 1000 % 60;
        return time;
      },
      [](const std::tm& time) { return fmt::format("{:%H:%M:%S %p}", time); });
}
BENCHMARK(fmtText)->Name("fmt/toString");

void qtText(benchmark::State& state) {
  writeEach(
      state, [](int milliseconds) { return QTime::fromMSecsSinceStartOfDay(milliseconds); },
      [](const QTime& time) { return time.toString(QStringLiteral("HH:mm:ss AP")); });
}
BENCHMARK(qtText)->Name("QTime/toString");

}  // namespace
