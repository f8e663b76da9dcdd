// Day numbers from days, months and years, and back.
#include "QVRSysDateBenchmark.h"

#include "QVRSysDate.h"

namespace {

void ourDayNumber(benchmark::State& state) {
  convertEach(state, randomDates(), [](const CalendarDay& date) {
    int dayNumber;
    QVRSysDate(date.day, date.month, date.year).getDate(dayNumber);
    return dayNumber;
  });
}
BENCHMARK(ourDayNumber)->Name("QVRSysDate/dayNumber");

void ourDate(benchmark::State& state) {
  convertEach(state, randomDayNumbers(), [](int dayNumber) {
    CalendarDay date;
    QVRSysDate(dayNumber).getDate(date.day, date.month, date.year);
    return date;
  });
}
BENCHMARK(ourDate)->Name("QVRSysDate/dayMonthYear");

void chronoDayNumber(benchmark::State& state) {
  convertEach(state, randomDates(), [](const CalendarDay& date) {
    using namespace std::chrono;
    const year_month_day converted(year(date.year), month(static_cast<unsigned>(date.month)),
                                   day(static_cast<unsigned>(date.day)));
    return static_cast<int>(sys_days(converted).time_since_epoch().count()) + kDayNumberOfEpoch;
  });
}
BENCHMARK(chronoDayNumber)->Name("std::chrono/dayNumber");

void chronoDate(benchmark::State& state) {
  convertEach(state, randomDayNumbers(), [](int dayNumber) {
    using namespace std::chrono;
    const year_month_day date{sys_days(days(dayNumber - kDayNumberOfEpoch))};
    return CalendarDay{static_cast<int>(unsigned(date.day())),
                       static_cast<int>(unsigned(date.month())), int(date.year())};
  });
}
BENCHMARK(chronoDate)->Name("std::chrono/dayMonthYear");

}  // namespace
