// The same conversions in the packaged calendars.
#include <unicode/gregocal.h>

#include <QDate>
#include <boost/date_time/gregorian/gregorian_types.hpp>

#include "QVRSysDateBenchmark.h"

namespace {

void qtDayNumber(benchmark::State& state) {
  convertEach(state, randomDates(), [](const CalendarDay& date) {
    return QDate(date.year, date.month, date.day).toJulianDay();
  });
}
BENCHMARK(qtDayNumber)->Name("QDate/dayNumber");

void qtDate(benchmark::State& state) {
  convertEach(state, randomDayNumbers(), [](int dayNumber) {
    CalendarDay date;
    QDate::fromJulianDay(dayNumber).getDate(&date.year, &date.month, &date.day);
    return date;
  });
}
BENCHMARK(qtDate)->Name("QDate/dayMonthYear");

void boostDayNumber(benchmark::State& state) {
  convertEach(state, randomDates(), [](const CalendarDay& date) {
    return boost::gregorian::date(static_cast<unsigned short>(date.year),
                                  static_cast<unsigned short>(date.month),
                                  static_cast<unsigned short>(date.day))
        .julian_day();
  });
}
BENCHMARK(boostDayNumber)->Name("Boost.Date_Time/dayNumber");

void boostDate(benchmark::State& state) {
  convertEach(state, randomDayNumbers(), [](int dayNumber) {
    const auto day = boost::gregorian::gregorian_calendar::from_day_number(
        static_cast<boost::gregorian::date::date_int_type>(dayNumber));
    return CalendarDay{day.day, day.month, day.year};
  });
}
BENCHMARK(boostDate)->Name("Boost.Date_Time/dayMonthYear");

void icuDayNumber(benchmark::State& state) {
  UErrorCode status = U_ZERO_ERROR;
  icu::GregorianCalendar calendar(icu::TimeZone::getGMT()->clone(), status);
  convertEach(state, randomDates(), [&](const CalendarDay& date) {
    calendar.set(date.year, date.month - 1, date.day);
    return calendar.get(UCAL_JULIAN_DAY, status);
  });
}
BENCHMARK(icuDayNumber)->Name("ICU/dayNumber");

void icuDate(benchmark::State& state) {
  UErrorCode status = U_ZERO_ERROR;
  icu::GregorianCalendar calendar(icu::TimeZone::getGMT()->clone(), status);
  convertEach(state, randomDayNumbers(), [&](int dayNumber) {
    calendar.setTime((dayNumber - double{kDayNumberOfEpoch}) * U_MILLIS_PER_DAY, status);
    return CalendarDay{calendar.get(UCAL_DATE, status), calendar.get(UCAL_MONTH, status) + 1,
                       calendar.get(UCAL_YEAR, status)};
  });
}
BENCHMARK(icuDate)->Name("ICU/dayMonthYear");

}  // namespace
