// Times of day as text: hours, minutes, seconds and the half of the day.
#include "QVRSysTimeBenchmark.h"

#include <ctime>
#include <string>

#include "QVRSysTime.h"

namespace {

void ourText(benchmark::State& state) {
  writeEach(
      state, [](int milliseconds) { return QVRSysTime(milliseconds); },
      [](const QVRSysTime& time) { return time.toString("%H:%M:%S %p"); });
}
BENCHMARK(ourText)->Name("QVRSysTime/toString");

std::tm brokenDown(int milliseconds) {
  std::tm time{};
  time.tm_hour = milliseconds / 3600000;
  time.tm_min = milliseconds / 60000 % 60;
  time.tm_sec = milliseconds / 1000 % 60;
  return time;
}

void systemText(benchmark::State& state) {
  writeEach(state, brokenDown, [](const std::tm& time) {
    char text[32];
    return std::string(text, std::strftime(text, sizeof text, "%H:%M:%S %p", &time));
  });
}
BENCHMARK(systemText)->Name("strftime/toString");

}  // namespace
