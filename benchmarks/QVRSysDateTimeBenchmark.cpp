// The present date and time.
#include "QVRSysDateTimeBenchmark.h"

#include "QVRSysDateTime.h"

namespace {

void ourNow(benchmark::State& state, const char* zone) {
  tellNow(state, zone, [] { return QVRSysDateTime::Now(); });
}
QVR_BENCHMARK_NOW(ourNow, "QVRSysDateTime");

// What the C library needs for the date, the time of day and its milliseconds.
void systemNow(benchmark::State& state, const char* zone) {
  tellNow(state, zone, [] {
    struct {
      std::tm local;
      long nanoseconds;
    } now;
    timespec time;
    clock_gettime(CLOCK_REALTIME, &time);
    localtime_r(&time.tv_sec, &now.local);
    now.nanoseconds = time.tv_nsec;
    return now;
  });
}
QVR_BENCHMARK_NOW(systemNow, "localtime_r");

}  // namespace
