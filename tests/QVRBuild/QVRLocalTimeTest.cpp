// Local time against localtime_r(), in zones on both sides of Greenwich.
#include "QVRLocalTime.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <tuple>

#include "support/ScopedEnvironment.h"

namespace {

auto fieldsOf(const std::tm& time) {
  return std::tuple(time.tm_year, time.tm_mon, time.tm_mday, time.tm_hour, time.tm_min, time.tm_sec,
                    time.tm_wday, time.tm_yday, time.tm_isdst, time.tm_gmtoff);
}

TEST(QVRLocalTimeTest, AgreesWithTheSystemInEveryZone) {
  const char* zones[] = {"UTC0",
                         "XXX-14",
                         "XXX12",
                         "IST-5:30",
                         "NST3:30NDT,M3.2.0,M11.1.0",
                         "CET-1CEST,M3.5.0,M10.5.0/3",
                         "AEST-10AEDT,M10.1.0,M4.1.0/3",
                         "Europe/London",
                         "America/New_York",
                         "Asia/Kolkata",
                         ""};
  for (const char* name : zones) {
    const ScopedEnvironment zone("TZ", name);
    // Steps of a prime number of seconds, some eleven days, from 1833 to 2106.
    for (std::int64_t instant = -4294967296; instant < 4294967296; instant += 967567) {
      const std::tm local = QVRLocalTime(instant);

      const std::time_t seconds = instant;
      std::tm expected{};
      tzset();
      localtime_r(&seconds, &expected);
      ASSERT_EQ(fieldsOf(local), fieldsOf(expected)) << name << ' ' << instant;
    }
  }
}

TEST(QVRLocalTimeTest, FollowsTheZoneWithoutTzset) {
  for (const int hours : {1, 2, 1}) {
    const ScopedEnvironment zone("TZ", ("XXX-" + std::to_string(hours)).c_str());
    EXPECT_EQ(QVRLocalTime(0).tm_hour, hours);
  }
}

TEST(QVRLocalTimeTest, YearsThatDoNotFitHaveNoDay) {
  for (const std::int64_t instant :
       {std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max()}) {
    EXPECT_EQ(QVRLocalTime(instant).tm_mday, 0);
  }
}

}  // namespace
