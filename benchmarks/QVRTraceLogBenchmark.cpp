// What a trace line costs, and what one costs that is switched off.
#include "QVRTraceLog.h"

#include <benchmark/benchmark.h>

#include <cstdlib>

#include "ZELSysLog.h"

namespace {

constexpr char kFile[] = "/home/developer/suite/module/src/Geometry.cpp";

void writeLine(benchmark::State& state) {
  QVRTraceLog log("GeometryTrace", QVRTraceLevelDebug, "%n(%p) %f(%l) %m %t");
  const ZELSysLog::Writer before =
      ZELSysLog::SetWriter([](const char* line) { benchmark::DoNotOptimize(line); });
  int object = 0;
  for (auto _ : state) {
    if (log.detLevel(QVRTraceLevelError)) {
      log.acquireLock();
      log.write(QVRTraceLevelError, kFile, 42) << "object " << ++object << " has no surface";
      log.releaseLock();
    }
  }
  ZELSysLog::SetWriter(before);
}
BENCHMARK(writeLine)->Name("QVRTraceLog/line")->ThreadRange(1, 4);

void levelThatIsOff(benchmark::State& state) {
  const QVRTraceLog log("GeometryTrace", QVRTraceLevelInfo, "");
  for (auto _ : state) benchmark::DoNotOptimize(log.detLevel(QVRTraceLevelDebug));
}
BENCHMARK(levelThatIsOff)->Name("QVRTraceLog/off");

void absentVariable(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(std::getenv("GeometryTraceTraceLevel"));
}
BENCHMARK(absentVariable)->Name("getenv/off");

}  // namespace
