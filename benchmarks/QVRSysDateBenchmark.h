// The random dates that every subject converts.
#pragma once

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstddef>
#include <random>
#include <vector>

struct CalendarDay {
  int day;
  int month;
  int year;
};

inline constexpr int kDayNumberOfEpoch = 2440588;
inline constexpr std::size_t kDates = 4096;

/// Julian day numbers from 1583 to 9999.
inline std::vector<int> randomDayNumbers() {
  std::mt19937 generator(20);
  std::uniform_int_distribution<int> dayNumber(2299239, 5373484);
  std::vector<int> result(kDates);
  for (int& number : result) number = dayNumber(generator);
  return result;
}

/// The dates of those days.
inline std::vector<CalendarDay> randomDates() {
  std::vector<CalendarDay> result;
  for (const int number : randomDayNumbers()) {
    const std::chrono::days sinceEpoch(number - kDayNumberOfEpoch);
    const std::chrono::year_month_day date{std::chrono::sys_days(sinceEpoch)};
    result.push_back({static_cast<int>(unsigned(date.day())),
                      static_cast<int>(unsigned(date.month())), int(date.year())});
  }
  return result;
}

/// Times `convert` for one value of `input` after the other.
template <class Value, class Convert>
void convertEach(benchmark::State& state, const std::vector<Value>& input, Convert convert) {
  std::size_t next = 0;
  for (auto _ : state) {
    auto result = convert(input[next]);
    benchmark::DoNotOptimize(result);
    next = (next + 1) % kDates;
  }
}
