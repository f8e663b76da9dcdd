// The present in Qt.
#include <QDateTime>

#include "QVRSysDateTimeBenchmark.h"

namespace {

void qtNow(benchmark::State& state, const char* zone) {
  tellNow(state, zone, [] { return QDateTime::currentDateTime(); });
}
QVR_BENCHMARK_NOW(qtNow, "QDateTime");

}  // namespace
