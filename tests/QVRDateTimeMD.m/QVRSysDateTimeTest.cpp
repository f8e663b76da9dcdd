// Date-times: local in and out, GMT within.
#include "QVRSysDateTime.h"

#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "support/ForkedChild.h"
#include "support/ScopedEnvironment.h"
#include "support/ScopedLocale.h"

namespace {

constexpr int kMin = std::numeric_limits<int>::min();
constexpr int kMax = std::numeric_limits<int>::max();
constexpr const char* kUtc = "UTC0";
constexpr const char* kEast = "XXX-1";
constexpr const char* kBerlin = "CET-1CEST,M3.5.0,M10.5.0/3";
constexpr const char* kNewYork = "EST5EDT,M3.2.0,M11.1.0";
constexpr const char* kAdelaide = "ACST-9:30ACDT,M10.1.0,M4.1.0/3";
// On daylight saving the whole year round.
constexpr const char* kForEver = "XXX3YYY,0/0,J365/25";

std::tm brokenDown(int year, int month, int day, int hour, int minute, int second) {
  std::tm time{};
  time.tm_year = year - 1900;
  time.tm_mon = month - 1;
  time.tm_mday = day;
  time.tm_hour = hour;
  time.tm_min = minute;
  time.tm_sec = second;
  return time;
}

/// That GMT date and time, whatever the zone.
QVRSysDateTime gmt(const QVRSysDate& date, const QVRSysTime& time) {
  const ScopedEnvironment zone("TZ", kUtc);
  return {date, time};
}

TEST(QVRSysDateTimeTest, DefaultHasInvalidHalves) {
  const QVRSysDateTime none;
  EXPECT_FALSE(none.isValid());
  EXPECT_EQ(none.getDateGMT(), QVRSysDate());
  EXPECT_EQ(none.getTimeGMT(), QVRSysTime());
}

TEST(QVRSysDateTimeTest, ValidWhenBothHalvesAre) {
  const ScopedEnvironment zone("TZ", kUtc);
  EXPECT_TRUE(QVRSysDateTime(QVRSysDate(1000), QVRSysTime(5)).isValid());
  EXPECT_FALSE(QVRSysDateTime(QVRSysDate(), QVRSysTime(5)).isValid());
}

TEST(QVRSysDateTimeTest, ShiftsLocalToGmtAndBack) {
  const QVRSysDate date(15, 6, 2009);
  const struct {
    const char* zone;
    QVRSysTime local;
    QVRSysDate gmtDate;
    QVRSysTime gmtTime;
  } cases[] = {{kUtc, {0, 30, 0, 0}, date, {0, 30, 0, 0}},
               {kEast, {0, 30, 0, 0}, date - 1, {23, 30, 0, 0}},
               {kBerlin, {0, 30, 0, 0}, date - 1, {23, 30, 0, 0}},
               {kNewYork, {20, 0, 0, 5}, date + 1, {1, 0, 0, 5}},
               {kAdelaide, {9, 0, 0, 0}, date - 1, {23, 30, 0, 0}},
               {kForEver, {22, 0, 0, 0}, date + 1, {1, 0, 0, 0}}};
  for (const auto& c : cases) {
    const ScopedEnvironment zone("TZ", c.zone);

    const QVRSysDateTime dateTime(date, c.local);

    EXPECT_EQ(dateTime.getDateGMT(), c.gmtDate) << c.zone;
    EXPECT_EQ(dateTime.getTimeGMT(), c.gmtTime) << c.zone;
    EXPECT_EQ(dateTime.getDate(), date) << c.zone;
    EXPECT_EQ(dateTime.getTime(), c.local) << c.zone;
  }
}

TEST(QVRSysDateTimeTest, OffsetIsThatOfPresentStandardTime) {
  // One of the two zones has daylight saving now, whenever now is.
  const struct {
    const char* zone;
    QVRSysTime gmt;
  } cases[] = {{kBerlin, {11, 0, 0, 0}}, {kAdelaide, {2, 30, 0, 0}}};
  for (const auto& c : cases) {
    const ScopedEnvironment zone("TZ", c.zone);
    for (const int month : {1, 7}) {
      const QVRSysDateTime noon(QVRSysDate(1, month, 2009), QVRSysTime(12, 0, 0, 0));
      EXPECT_EQ(noon.getTimeGMT(), c.gmt) << c.zone << ' ' << month;
    }
  }
}

TEST(QVRSysDateTimeTest, ValuesMoveWithTheZone) {
  const QVRSysDateTime dateTime = gmt({15, 6, 2009}, {23, 30, 0, 0});

  const ScopedEnvironment zone("TZ", kEast);

  EXPECT_EQ(dateTime.getDate(), QVRSysDate(16, 6, 2009));
  EXPECT_EQ(dateTime.getTime(), QVRSysTime(0, 30, 0, 0));
}

TEST(QVRSysDateTimeTest, EqualGmtHalvesAreEqualInAnyZone) {
  const ScopedEnvironment zone("TZ", kEast);
  const QVRSysDateTime here(QVRSysDate(16, 6, 2009), QVRSysTime(0, 30, 0, 0));
  EXPECT_EQ(here, gmt({15, 6, 2009}, {23, 30, 0, 0}));
}

TEST(QVRSysDateTimeTest, TakesInstantsInLocalTime) {
  const struct {
    const char* zone;
    std::int64_t seconds;
    QVRSysDate date;
    QVRSysTime time;
  } cases[] = {{kUtc, 1246406400, {1, 7, 2009}, {0, 0, 0, 9}},
               {kUtc, -1, {31, 12, 1969}, {23, 59, 59, 9}},
               {kNewYork, 1230768000, {1, 1, 2009}, {0, 0, 0, 9}},
               // Daylight saving is never taken off again.
               {kBerlin, 1246406400, {1, 7, 2009}, {1, 0, 0, 9}},
               {kBerlin, 1230768000, {1, 1, 2009}, {0, 0, 0, 9}}};
  for (const auto& c : cases) {
    const ScopedEnvironment zone("TZ", c.zone);
    QVRSysDateTime dateTime;
    EXPECT_TRUE(dateTime.setCTime(c.seconds, 9));
    EXPECT_EQ(dateTime.getDateGMT(), c.date) << c.zone;
    EXPECT_EQ(dateTime.getTimeGMT(), c.time) << c.zone;
    EXPECT_EQ(QVRSysDateTime(c.seconds, 9), dateTime);
  }
}

TEST(QVRSysDateTimeTest, InstantsOfNoDateAreRefused) {
  for (const std::int64_t seconds :
       {std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max()}) {
    QVRSysDateTime dateTime = gmt(1000, 5);
    EXPECT_FALSE(dateTime.setCTime(seconds, 0));
    EXPECT_EQ(dateTime.getDateGMT(), QVRSysDate());
    EXPECT_EQ(QVRSysDateTime(seconds, 0), QVRSysDateTime());
  }
}

TEST(QVRSysDateTimeTest, HalvesThatFailAreNotShifted) {
  const ScopedEnvironment zone("TZ", kEast);
  const std::tm noDate = brokenDown(2009, 2, 29, 0, 30, 0);
  const std::tm noTime = brokenDown(2009, 2, 28, 0, 30, 60);
  const QVRSysDateTime before = gmt(1000, 5);

  QVRSysDateTime dateTime = before;
  EXPECT_FALSE(dateTime.setCTime(noDate, 0));
  EXPECT_EQ(dateTime.getDateGMT(), QVRSysDate());
  EXPECT_EQ(dateTime.getTimeGMT(), QVRSysTime(5));

  dateTime = before;
  EXPECT_FALSE(dateTime.setCTime(noTime, 0));
  EXPECT_EQ(dateTime.getDateGMT(), QVRSysDate(28, 2, 2009));
  EXPECT_EQ(dateTime.getTimeGMT(), QVRSysTime());

  dateTime = before;
  EXPECT_FALSE(dateTime.setDateTime(QVRSysDate(), QVRSysTime(7)));
  EXPECT_EQ(dateTime.getDateGMT(), QVRSysDate());
  EXPECT_EQ(dateTime.getTimeGMT(), QVRSysTime(5));

  EXPECT_EQ(QVRSysDateTime(noDate, 0), QVRSysDateTime());
  EXPECT_EQ(QVRSysDateTime(noTime, 0).getDateGMT(), QVRSysDate(28, 2, 2009));
  EXPECT_EQ(QVRSysDateTime(noTime, 0).getTimeGMT(), QVRSysTime());
}

TEST(QVRSysDateTimeTest, SetsBothHalvesAndShifts) {
  const ScopedEnvironment zone("TZ", kEast);
  QVRSysDateTime set, taken;
  EXPECT_TRUE(set.setDateTime(QVRSysDate(1, 7, 2009), QVRSysTime(0, 30, 0, 5)));
  EXPECT_TRUE(taken.setCTime(brokenDown(2009, 7, 1, 0, 30, 0), 5));

  EXPECT_EQ(set, gmt({30, 6, 2009}, {23, 30, 0, 5}));
  EXPECT_EQ(taken, set);
  EXPECT_EQ(QVRSysDateTime(brokenDown(2009, 7, 1, 0, 30, 0), 5), set);
}

TEST(QVRSysDateTimeTest, InvalidHalvesGoThroughTheFormulas) {
  const ScopedEnvironment zone("TZ", "XXX1");
  // An invalid time is one millisecond before midnight.
  const QVRSysDateTime noTime(QVRSysDate(1000), QVRSysTime());
  EXPECT_EQ(noTime.getDateGMT(), QVRSysDate(1000));
  EXPECT_EQ(noTime.getTimeGMT(), QVRSysTime(0, 59, 59, 999));
  // An invalid date to which a day is carried is day 0.
  const QVRSysDateTime noDate(QVRSysDate(), QVRSysTime(23, 30, 0, 0));
  EXPECT_EQ(noDate.getDateGMT(), QVRSysDate(0));
}

TEST(QVRSysDateTimeTest, AssignmentCopiesBothHalves) {
  const QVRSysDateTime dateTime = gmt(1000, 5);
  const QVRSysDateTime copy(dateTime);
  QVRSysDateTime assigned;

  EXPECT_EQ(&(assigned = dateTime), &assigned);

  EXPECT_EQ(copy, dateTime);
  EXPECT_EQ(assigned, dateTime);
  assigned = QVRSysDateTime();
  EXPECT_EQ(assigned, QVRSysDateTime());
}

TEST(QVRSysDateTimeTest, NowIsTheInstantInStandardTime) {
  for (const char* name : {kUtc, kEast, kNewYork, kBerlin, kAdelaide, kForEver}) {
    const ScopedEnvironment zone("TZ", name);
    const QVRSysDateTime before(std::int64_t{std::time(nullptr)}, 0);
    const QVRSysDateTime now = QVRSysDateTime::Now();
    const QVRSysDateTime after(std::int64_t{std::time(nullptr) + 1}, 0);

    EXPECT_TRUE(before <= now && now <= after) << name;
  }
}

TEST(QVRSysDateTimeTest, NowFollowsEveryChangeOfTheZone) {
  const std::string longZone = "XXX-3YYY" + std::string(60, 'Y') + ",M3.5.0,M10.5.0";
  const struct {
    const char* zone;
    int minutesEast;
  } cases[] = {{"XXX-1", 60}, {"XXX-2", 120}, {longZone.c_str(), 180}, {"XXX-1", 60},
               {"", 0},       {"XXX5", -300}, {longZone.c_str(), 180}, {"XXX5", -300}};
  for (const auto& c : cases) {
    const ScopedEnvironment zone("TZ", c.zone);
    const QVRSysDateTime noon(QVRSysDate(1000), QVRSysTime(12, 0, 0, 0));
    EXPECT_EQ(noon.getTimeGMT(), QVRSysTime(12, 0, 0, 0).addMinutes(-c.minutesEast)) << c.zone;
  }
}

TEST(QVRSysDateTimeTest, BrokenDownTimesAreGmtAndLocal) {
  const ScopedEnvironment zone("TZ", kEast);
  const QVRSysDateTime dateTime(QVRSysDate(1, 3, 2004), QVRSysTime(0, 30, 15, 7));
  std::tm time;

  dateTime.getCTimeGMT(time);
  EXPECT_EQ(time.tm_year, 104);
  EXPECT_EQ(time.tm_mon, 1);
  EXPECT_EQ(time.tm_mday, 29);
  EXPECT_EQ(time.tm_yday, 59);
  EXPECT_EQ(time.tm_wday, 0);
  EXPECT_EQ(time.tm_hour, 23);
  EXPECT_EQ(time.tm_min, 30);
  EXPECT_EQ(time.tm_sec, 15);
  EXPECT_EQ(time.tm_isdst, 0);

  dateTime.getCTimeLocal(time);
  EXPECT_EQ(time.tm_year, 104);
  EXPECT_EQ(time.tm_mon, 2);
  EXPECT_EQ(time.tm_mday, 1);
  EXPECT_EQ(time.tm_yday, 60);
  EXPECT_EQ(time.tm_wday, 1);
  EXPECT_EQ(time.tm_hour, 0);
  EXPECT_EQ(time.tm_min, 30);
  EXPECT_EQ(time.tm_sec, 15);
  EXPECT_EQ(time.tm_isdst, -1);
}

TEST(QVRSysDateTimeTest, InstantsComeBack) {
  for (const char* name : {kUtc, kEast, kNewYork, kBerlin, kAdelaide}) {
    const ScopedEnvironment zone("TZ", name);
    for (const std::int64_t instant : {std::int64_t{0}, std::int64_t{1246406400},
                                       std::int64_t{1230768000}, std::int64_t{-86400 * 200}}) {
      std::int64_t seconds = 7;
      QVRSysDateTime(instant, 0).getCTime(seconds);
      EXPECT_EQ(seconds, instant) << name;
    }
  }
}

TEST(QVRSysDateTimeTest, WritesLocalDateBlankAndTime) {
  const ScopedEnvironment zone("TZ", kEast);
  const QVRSysDateTime dateTime(QVRSysDate(1, 3, 2004), QVRSysTime(0, 30, 15, 7));
  EXPECT_EQ(dateTime.toString('D', "%H:%M:%S"), "03/01/04 00:30:15");
  EXPECT_EQ(dateTime.toWString(u'D', u"%H:%M:%S"), u"03/01/04 00:30:15");
  EXPECT_EQ(dateTime.toString('D', ""), "03/01/04 ");

  std::ostringstream out;
  out << dateTime;
  EXPECT_EQ(out.str(), "03/01/04 00:30:15 AM");

  const ScopedLocale locale("de_DE.UTF-8");
  EXPECT_EQ(dateTime.toWString(u'B', u"\U0001F550%H"), u"M\u00E4rz \U0001F55000");
}

TEST(QVRSysDateTimeTest, SumsOfTimesCarryIntoTheDate) {
  QVRSysDateTime dateTime = gmt(1000, {23, 0, 0, 0});
  EXPECT_EQ(&dateTime.addHours(2), &dateTime);
  EXPECT_EQ(dateTime, gmt(1001, {1, 0, 0, 0}));
  EXPECT_EQ(dateTime.addMinutes(-120), gmt(1000, {23, 0, 0, 0}));
  EXPECT_EQ(dateTime.addSeconds(3600 * 50), gmt(1003, {1, 0, 0, 0}));
  EXPECT_EQ(dateTime.addMilliseconds(-3600001), gmt(1002, {23, 59, 59, 999}));
  // Sums of times wrap at 32 bits before they carry.
  EXPECT_EQ(gmt(1000, 0).addHours(kMin), gmt(1000, 0));
  EXPECT_EQ(gmt(1000, 0).addMilliseconds(kMin), gmt(975, kMin));
}

TEST(QVRSysDateTimeTest, SumsOfDatesLeaveTheTimeAlone) {
  QVRSysDateTime dateTime = gmt({31, 1, 2004}, 5);
  EXPECT_EQ(&dateTime.addMonths(1), &dateTime);
  EXPECT_EQ(dateTime, gmt({2, 3, 2004}, 5));
  EXPECT_EQ(dateTime.addDays(-2), gmt({29, 2, 2004}, 5));
  EXPECT_EQ(dateTime.addWeeks(1), gmt({7, 3, 2004}, 5));
  EXPECT_EQ(dateTime.addYears(-1), gmt({7, 3, 2003}, 5));
  EXPECT_EQ(dateTime.addDays(kMax).getDateGMT(), QVRSysDate());
  EXPECT_EQ(dateTime.getTimeGMT(), QVRSysTime(5));
}

TEST(QVRSysDateTimeTest, ComparesDatesThenTimes) {
  const QVRSysDateTime early = gmt(1000, 7), late = gmt(1000, 8), latest = gmt(1001, 0);
  EXPECT_TRUE(early < late && late < latest && early < latest);
  EXPECT_TRUE(latest > late && late >= early && early <= late && early <= early);
  EXPECT_TRUE(early >= early && early == gmt(1000, 7) && early != late);
  EXPECT_FALSE(late < early || early < early || early > early || early != early);
}

TEST(QVRSysDateTimeTest, LaterAndEarlierAreOneOfTheTwo) {
  const QVRSysDateTime early = gmt(1000, 7), late = gmt(1000, 8), sameAsLate = late;
  EXPECT_EQ(&early.max(late), &late);
  EXPECT_EQ(&late.max(early), &late);
  EXPECT_EQ(&late.max(sameAsLate), &late);
  EXPECT_EQ(&early.min(late), &early);
  EXPECT_EQ(&late.min(early), &early);
  EXPECT_EQ(&late.min(sameAsLate), &late);
}

TEST(QVRSysDateTimeTest, ThreadsAskForLocalTimeAtOnce) {
  const ScopedEnvironment zone("TZ", kNewYork);
  const QVRSysDateTime expected(std::int64_t{1246406400}, 0);
  std::vector<std::thread> threads;
  std::vector<int> wrong(4);
  for (int& count : wrong) {
    threads.emplace_back([&] {
      for (int i = 0; i < 500; ++i) {
        if (QVRSysDateTime(std::int64_t{1246406400}, 0) != expected) ++count;
        if (!QVRSysDateTime::Now().isValid()) ++count;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, std::vector<int>(4, 0));
}

TEST(QVRSysDateTimeTest, ChildTellsLocalTimeWhileTheParentsThreadsDid) {
  const QVRSysDateTime expected(std::int64_t{1246406400}, 0);
  std::atomic<bool> stop = false;
  std::thread asking([&] {
    while (!stop) QVRSysDateTime(std::int64_t{1246406400}, 0);
  });
  std::thread writing([&] {
    while (!stop) QVRSysTime(5).toString("%s");
  });

  for (int i = 0; i < 100; ++i) {
    EXPECT_EQ(exitStatusOfFork([&] {
                const bool same = QVRSysDateTime(std::int64_t{1246406400}, 0) == expected;
                return same && QVRSysDate(1000).toString('D').size() == 8 ? 0 : 1;
              }),
              0);
  }

  stop = true;
  asking.join();
  writing.join();
}

TEST(QVRSysDateTimeTest, SecondsSinceTheEpochAreATextToo) {
  const ScopedEnvironment zone("TZ", kEast);
  EXPECT_EQ(QVRSysDate(2, 1, 1970).toString('s'), "86400");
  EXPECT_EQ(QVRSysDate(2, 1, 1970).toStringW(u's'), u"86400");
}

}  // namespace
