// Levels, headers and lines of trace logs.
#include "QVRTraceLog.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <ctime>
#include <iomanip>
#include <iostream>
#include <latch>
#include <locale>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "QVRSysThreadId.h"
#include "ZELSysLog.h"
#include "support/ScopedEnvironment.h"
#include "support/TraceRecorder.h"

namespace {

using Lines = std::vector<std::string>;

constexpr char kFile[] = "c:\\src\\foo.cc";
constexpr char kAllLogs[] = "QVRDefaultTraceLevel";
constexpr char kThisLog[] = "TestTraceLevel";
constexpr char kDefaultFormat[] = "%n(%p) %f(%l) %m";

static_assert(!std::is_copy_constructible_v<QVRTraceLog>);
static_assert(!std::is_copy_assignable_v<QVRTraceLog>);
static_assert(std::has_virtual_destructor_v<QVRTraceLog>);

QVRTraceLevel level(int value) { return static_cast<QVRTraceLevel>(value); }

/// No variable says anything about the log "Test", and nothing is recorded yet.
class QVRTraceLogTest : public testing::Test {
 protected:
  const ScopedEnvironment allLogs_{kAllLogs, nullptr};
  const ScopedEnvironment thisLog_{kThisLog, nullptr};
  TraceRecorder recorder_;
  QVRTraceLog log_{"Test", QVRTraceLevelDebug, ""};
};

/// Writes one line with a header.
template <class Text>
void writeLine(QVRTraceLog& log, QVRTraceLevel lineLevel, const Text& text,
               const char* file = kFile, int line = 42) {
  log.acquireLock();
  log.write(lineLevel, file, line) << text;
  log.releaseLock();
}

std::string headerOf(const std::string& format, QVRTraceLevel lineLevel = QVRTraceLevelError,
                     const char* file = kFile, int line = 42) {
  QVRTraceLog log("Test", QVRTraceLevelDebug, format);
  const TraceRecorder recorder;
  writeLine(log, lineLevel, "", file, line);
  return recorder.only();
}

/// How they are found by a static object of the program.
struct AtStart {
  std::string systemFormat = QVRSystemTrace.GetFormat();
  std::string buildFormat = QVRBuildTrace.GetFormat();
};
const AtStart atStart;

TEST(QVRTraceLevelTest, IsWrittenAsItsName) {
  const struct {
    int value;
    const char* text;
  } cases[] = {{0, "None"},  {1, "Fatal"}, {2, "Error"},  {3, "Warning"}, {4, "Info"},
               {5, "Debug"}, {6, "Call"},  {7, "Unspec"}, {8, "Unknown"}, {-1, "Unknown"}};
  for (const auto& c : cases) {
    std::ostringstream out;
    out << level(c.value);
    EXPECT_EQ(out.str(), c.text) << c.value;
  }
}

TEST_F(QVRTraceLogTest, KeepsItsNameAndFormat) {
  const QVRTraceLog log("A name", QVRTraceLevelInfo, "%q");

  EXPECT_EQ(log.getName(), "A name");
  EXPECT_EQ(log.GetFormat(), "%q");
  EXPECT_EQ(log.getLevel(), QVRTraceLevelInfo);
}

TEST_F(QVRTraceLogTest, EnvironmentTextsBecomeLevelsOnlyExactly) {
  const struct {
    const char* text;
    int level;
  } cases[] = {{"None", 0},   {"Fatal", 1},  {"Error", 2},    {"Warning", 3}, {"Info", 4},
               {"Debug", 5},  {"Call", 6},   {"Unspec", 7},   {"", 7},        {"debug", 7},
               {"Debug ", 7}, {" Debug", 7}, {"Debugger", 7}, {"5", 7}};
  for (const auto& c : cases) {
    const ScopedEnvironment environment(kAllLogs, c.text);
    EXPECT_EQ(QVRTraceLog::GetDefaultLevel(), c.level) << '"' << c.text << '"';
  }
}

TEST_F(QVRTraceLogTest, FirstSourceOfALevelThatGivesOneCounts) {
  const struct {
    const char* allLogs;
    QVRTraceLevel defaultLevel;
    const char* thisLog;
    QVRTraceLevel ownLevel;
    int expected;
  } cases[] = {
      {nullptr, level(7), nullptr, level(5), 5},    {nullptr, level(7), "Info", level(5), 4},
      {nullptr, level(7), "Unspec", level(5), 7},   {nullptr, level(7), "", level(5), 7},
      {nullptr, level(7), "nonsense", level(5), 7}, {nullptr, level(2), "Info", level(5), 2},
      {nullptr, level(0), "Info", level(5), 0},     {"None", level(2), "Info", level(5), 0},
      {"Call", level(2), nullptr, level(5), 6},     {"Unspec", level(2), "Info", level(5), 4},
      {"nonsense", level(2), nullptr, level(5), 5}, {nullptr, level(7), nullptr, level(7), 7},
      {nullptr, level(9), "Info", level(5), 9},
  };
  for (const auto& c : cases) {
    const ScopedEnvironment allLogs(kAllLogs, c.allLogs);
    const ScopedEnvironment thisLog(kThisLog, c.thisLog);
    QVRTraceLog::SetDefaultLevel(c.defaultLevel);
    log_.setLevel(c.ownLevel);
    EXPECT_EQ(log_.getLevel(), c.expected) << &c - cases;
  }
  QVRTraceLog::SetDefaultLevel(QVRTraceLevelUnspec);
}

TEST_F(QVRTraceLogTest, DefaultLevelIsUnspecUntilSet) {
  EXPECT_EQ(QVRTraceLog::GetDefaultLevel(), QVRTraceLevelUnspec);

  QVRTraceLog::SetDefaultLevel(QVRTraceLevelFatal);
  EXPECT_EQ(QVRTraceLog::GetDefaultLevel(), QVRTraceLevelFatal);
  QVRTraceLog::SetDefaultLevel(QVRTraceLevelUnspec);
}

TEST_F(QVRTraceLogTest, LinesBelowInfoAreComposedWhateverTheLevel) {
  for (int own = 0; own <= 7; ++own) {
    log_.setLevel(level(own));
    for (int asked = -1; asked <= 8; ++asked) {
      EXPECT_EQ(log_.detLevel(level(asked)), asked < 4 || own >= asked) << own << ' ' << asked;
    }
  }
}

TEST_F(QVRTraceLogTest, HeaderFollowsTheFormat) {
  const std::string thread = std::to_string(QVRSysGetThreadId().hash());
  const std::string process = std::to_string(getpid());
  const struct {
    std::string format;
    std::string header;
  } cases[] = {
      {"", ""},
      {" ", " "},
      {"plain", "plain"},
      {"%F", "c:\\src\\foo.cc "},
      {"%f", "foo.cc "},
      {"%l", "42 "},
      {"%n", "Test "},
      {"%p", thread + ' '},
      {"%P", process + ' '},
      {"%m", "Error"},
      {"%m(%p) %F:%l", "Error(" + thread + " ) c:\\src\\foo.cc :42 "},
      {kDefaultFormat, "Test (" + thread + " ) foo.cc (42 ) Error"},
      {"DefaultFormat", "Test (" + thread + " ) foo.cc (42 ) Error"},
      {"DefaultFormat ", "DefaultFormat "},
      {"100%", "100"},
      {"%", ""},
      {"%%", "%"},
      {"%%f", "%f"},
      {"%x%y", "xy"},
      {"%M%N", "MN"},
      {"%m%m", "ErrorError"},
  };
  for (const auto& c : cases) EXPECT_EQ(headerOf(c.format), c.header) << c.format;
}

TEST_F(QVRTraceLogTest, ShortFileStartsBehindTheLastBackslash) {
  const struct {
    const char* file;
    const char* shown;
  } cases[] = {{"foo.cc", "foo.cc "},
               {"/usr/src/foo.cc", "/usr/src/foo.cc "},
               {"a\\b/c.cc", "b/c.cc "},
               {"dir\\", " "},
               {"\\foo.cc", "foo.cc "},
               {"", " "},
               {nullptr, " "}};
  for (const auto& c : cases) EXPECT_EQ(headerOf("%f", level(2), c.file), c.shown);
}

TEST_F(QVRTraceLogTest, LineNumberIsSigned) {
  for (const int line : {0, -1, 2147483647, -2147483647 - 1}) {
    EXPECT_EQ(headerOf("%l", level(2), kFile, line), std::to_string(line) + ' ');
  }
}

TEST_F(QVRTraceLogTest, HeaderNamesTheLevel) {
  const char* const names[] = {"None", "Fatal", "Error", "Warning"};
  for (int i = 0; i < 4; ++i) EXPECT_EQ(headerOf("%m", level(i)), names[i]);
}

TEST_F(QVRTraceLogTest, HeaderShowsTheLocalTime) {
  for (const char* const zone : {"UTC0", "<+0530>-5:30", "EST5EDT,M3.2.0,M11.1.0"}) {
    const ScopedEnvironment environment("TZ", zone);
    for (const char* const format : {"%t", "%T"}) {
      const auto now = [] {
        // Not time(), whose second begins a little later than the clock's.
        using Clock = std::chrono::system_clock;
        const std::time_t seconds = Clock::to_time_t(Clock::now());
        std::array<char, 120> text;
        const std::size_t length =
            std::strftime(text.data(), text.size(), "%H:%M:%S %p ", std::localtime(&seconds));
        return std::string(text.data(), length);
      };
      // The second may change in between; not each time.
      std::string before, header, after;
      do {
        before = now();
        header = headerOf(format);
        after = now();
      } while (before != after);
      EXPECT_EQ(header, before) << zone;
    }
  }
  tzset();
}

TEST_F(QVRTraceLogTest, HeaderInAForkedChildShowsTheChild) {
  const pid_t pid = fork();
  if (pid == 0) {
    const std::string expected = std::to_string(getpid()) + ' ' + std::to_string(gettid()) + ' ';
    _exit(headerOf("%P%p") == expected ? 0 : 1);
  }
  int status = -1;
  waitpid(pid, &status, 0);
  EXPECT_EQ(status, 0);
}

TEST_F(QVRTraceLogTest, HeaderShowsTheThreadThatWrites) {
  std::string expected, header;
  std::thread([&] {
    expected = std::to_string(QVRSysGetThreadId().hash()) + ' ';
    header = headerOf("%p");
  }).join();
  EXPECT_EQ(header, expected);
  EXPECT_NE(header, std::to_string(QVRSysGetThreadId().hash()) + ' ');
}

TEST_F(QVRTraceLogTest, FirstHeaderReplacesDefaultFormatForGood) {
  log_.SetFormat("DefaultFormat");
  EXPECT_EQ(log_.GetFormat(), "DefaultFormat");

  log_.acquireLock();
  log_.write(QVRTraceLevelError, "no header");
  log_.releaseLock();
  EXPECT_EQ(log_.GetFormat(), "DefaultFormat");

  writeLine(log_, QVRTraceLevelDebug, "");
  EXPECT_EQ(log_.GetFormat(), kDefaultFormat);
}

TEST_F(QVRTraceLogTest, ReplacingDefaultFormatNeverUndoesASetFormat) {
  for (int i = 0; i < 200; ++i) {
    QVRTraceLog log("Test", QVRTraceLevelDebug, "DefaultFormat");
    std::latch start(2);
    std::thread setter([&] {
      start.arrive_and_wait();
      log.SetFormat("set");
    });
    start.arrive_and_wait();
    writeLine(log, QVRTraceLevelDebug, "");
    setter.join();
    ASSERT_EQ(log.GetFormat(), "set");
  }
}

TEST_F(QVRTraceLogTest, ReadersSeeWholeFormatsAndLevels) {
  // Longer than a text keeps within itself.
  const std::string formats[] = {std::string(40, 'a'), std::string(90, 'b')};
  log_.SetFormat(formats[0]);
  std::latch start(3);
  std::atomic<bool> stop = false;
  std::thread setter([&] {
    start.arrive_and_wait();
    for (int i = 0; !stop; ++i) {
      log_.SetFormat(formats[i % 2]);
      log_.setLevel(level(i % 2));
    }
  });
  std::thread writer([&] {
    start.arrive_and_wait();
    while (!stop) writeLine(log_, QVRTraceLevelError, "");
  });

  start.arrive_and_wait();
  for (int i = 0; i < 2000; ++i) {
    const std::string format = log_.GetFormat();
    ASSERT_TRUE(format == formats[0] || format == formats[1]) << format;
    const QVRTraceLevel seen = log_.getLevel();
    ASSERT_TRUE(seen == 0 || seen == 1 || seen == QVRTraceLevelDebug) << seen;
  }
  stop = true;
  setter.join();
  writer.join();
  for (const std::string& line : recorder_.lines()) {
    ASSERT_TRUE(line == formats[0] || line == formats[1]) << line;
  }
}

TEST_F(QVRTraceLogTest, SettingsAreReadAndSetWhileALineIsInProgress) {
  log_.acquireLock();
  log_.write(QVRTraceLevelError, kFile, 1) << "line";
  std::thread([&] {
    log_.SetFormat("other");
    log_.setLevel(QVRTraceLevelInfo);
    EXPECT_EQ(log_.GetFormat(), "other");
    EXPECT_EQ(log_.getLevel(), QVRTraceLevelInfo);
  }).join();
  log_.releaseLock();

  EXPECT_EQ(recorder_.only(), "line");
}

TEST_F(QVRTraceLogTest, OnlyLinesFromNoneToWarningAreEmitted) {
  for (int i = -1; i <= 8; ++i) {
    log_.setLevel(QVRTraceLevelUnspec);
    writeLine(log_, level(i), i);
  }
  EXPECT_EQ(recorder_.lines(), (Lines{"0", "1", "2", "3"}));
}

TEST_F(QVRTraceLogTest, TextIsWrittenWithoutHeaderAndNewline) {
  log_.SetFormat("header ");

  log_.acquireLock();
  log_.write(QVRTraceLevelError, "text") << ' ' << 7;
  log_.releaseLock();

  EXPECT_EQ(recorder_.only(), "text 7");
}

TEST_F(QVRTraceLogTest, OneLineGathersAllThatIsWrittenUntilItsEnd) {
  log_.SetFormat("[%l]");

  log_.acquireLock();
  log_.write(QVRTraceLevelDebug, "a") << 'b';
  log_.write(QVRTraceLevelError, kFile, 5) << 'c';
  log_.write(QVRTraceLevelWarning, nullptr) << 'd';
  log_.releaseLock();

  EXPECT_EQ(recorder_.only(), "ab[5 ]cd");
}

TEST_F(QVRTraceLogTest, LineShowsNothingOfALongerOneBefore) {
  writeLine(log_, QVRTraceLevelError, std::string(5000, 'x'));
  writeLine(log_, QVRTraceLevelDebug, std::string(50, 'y'));
  writeLine(log_, QVRTraceLevelError, "z");

  EXPECT_EQ(recorder_.lines(), (Lines{std::string(5000, 'x'), "z"}));
}

TEST_F(QVRTraceLogTest, LinesAreOfAnyLength) {
  for (const std::size_t length : {254u, 255u, 256u, 257u, 1u << 20}) {
    const TraceRecorder recorder;
    writeLine(log_, QVRTraceLevelError, std::string(length, 'x'));
    EXPECT_EQ(recorder.only(), std::string(length, 'x'));
  }
}

TEST_F(QVRTraceLogTest, CharactersOneByOneMakeALongLineToo) {
  log_.acquireLock();
  std::ostream& out = log_.write(QVRTraceLevelError, kFile, 1);
  for (int i = 0; i < 1000; ++i) out.put(static_cast<char>('a' + i % 26));
  log_.releaseLock();

  const std::string line = recorder_.only();
  ASSERT_EQ(line.size(), 1000u);
  EXPECT_EQ(line.substr(0, 3) + line.substr(997), "abcjkl");
}

TEST_F(QVRTraceLogTest, ZeroEndsALineForTheWriter) {
  writeLine(log_, QVRTraceLevelError, std::string("ab\0cd", 5));
  writeLine(log_, QVRTraceLevelError, "ef");

  EXPECT_EQ(recorder_.lines(), (Lines{"ab", "ef"}));
}

TEST_F(QVRTraceLogTest, FormattingEndsWithTheLine) {
  log_.acquireLock();
  log_.write(QVRTraceLevelError, kFile, 1)
      << std::hex << std::showbase << std::left << std::setprecision(2) << std::setfill('.') << 255
      << std::setw(9);
  log_.releaseLock();
  writeLine(log_, QVRTraceLevelError, 255);
  writeLine(log_, QVRTraceLevelError, 3.14159);
  writeLine(log_, QVRTraceLevelError, std::setw(4));

  log_.acquireLock();
  log_.write(QVRTraceLevelError, kFile, 1) << std::setw(4) << 7;
  log_.releaseLock();

  EXPECT_EQ(recorder_.lines(), (Lines{"0xff", "255", "3.14159", "", "   7"}));
}

TEST_F(QVRTraceLogTest, WidthPadsNoHeader) {
  log_.SetFormat("%l");

  log_.acquireLock();
  log_.write(QVRTraceLevelError, "a") << std::setw(9);
  log_.write(QVRTraceLevelError, kFile, 1) << 'b';
  log_.releaseLock();

  EXPECT_EQ(recorder_.only(), "a1         b");
}

TEST_F(QVRTraceLogTest, ErrorsOfTheStreamEndWithTheLineOrTheNextHeader) {
  log_.SetFormat("%l");

  log_.acquireLock();
  std::ostream& out = log_.write(QVRTraceLevelError, kFile, 1);
  out << static_cast<const char*>(nullptr) << "lost";
  EXPECT_TRUE(out.bad());
  log_.write(QVRTraceLevelError, "lost too");
  log_.write(QVRTraceLevelError, kFile, 2) << "kept";
  out.setstate(std::ios_base::failbit);
  log_.releaseLock();
  log_.acquireLock();
  log_.write(QVRTraceLevelError, "next") << " line";
  log_.releaseLock();

  EXPECT_EQ(recorder_.lines(), (Lines{"1 2 kept", "next line"}));
}

TEST_F(QVRTraceLogTest, ImbuedLocaleEndsWithTheLine) {
  struct Grouping : std::numpunct<char> {
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };
  for (int i = 0; i < 2; ++i) {
    log_.acquireLock();
    std::ostream& out = log_.write(QVRTraceLevelError, "");
    out << 1234567 << ' ';
    out.imbue(std::locale(out.getloc(), new Grouping));
    out << 1234567;
    log_.releaseLock();
  }

  EXPECT_EQ(recorder_.lines(), (Lines{"1234567 1.234.567", "1234567 1.234.567"}));
}

TEST_F(QVRTraceLogTest, ThrowingStreamIsOrdinaryInTheNextLine) {
  log_.acquireLock();
  std::ostream& out = log_.write(QVRTraceLevelError, kFile, 1);
  out.exceptions(std::ios_base::badbit | std::ios_base::failbit);
  EXPECT_THROW(out.setstate(std::ios_base::failbit), std::ios_base::failure);
  log_.releaseLock();

  log_.acquireLock();
  EXPECT_NO_THROW(log_.write(QVRTraceLevelError, kFile, 1).setstate(std::ios_base::failbit));
  log_.releaseLock();
}

/// An operand that writes a line of its own while it is streamed.
struct TracingOperand {
  QVRTraceLog& log;

  friend std::ostream& operator<<(std::ostream& out, const TracingOperand& operand) {
    writeLine(operand.log, QVRTraceLevelWarning, std::hex);
    writeLine(operand.log, QVRTraceLevelDebug, "dropped");
    return out << "operand";
  }
};

TEST_F(QVRTraceLogTest, LineWrittenByAnOperandIsALineOfItsOwn) {
  log_.SetFormat("%m ");

  log_.acquireLock();
  log_.write(QVRTraceLevelError, kFile, 1) << "outer " << TracingOperand{log_} << ' ' << 10;
  log_.releaseLock();
  writeLine(log_, QVRTraceLevelFatal, "next");

  EXPECT_EQ(recorder_.lines(), (Lines{"Warning ", "Error outer operand 10", "Fatal next"}));
}

TEST_F(QVRTraceLogTest, WriterMayTraceToTheSameLog) {
  int depth = 0;
  recorder_.onLine([&] {
    if (++depth < 4) writeLine(log_, QVRTraceLevelWarning, depth);
  });

  writeLine(log_, QVRTraceLevelError, "first");
  writeLine(log_, QVRTraceLevelError, "last");

  EXPECT_EQ(recorder_.lines(), (Lines{"first", "1", "2", "3", "last"}));
}

TEST_F(QVRTraceLogTest, LineHandedOutStaysWhileTheWriterTraces) {
  static QVRTraceLog* log;
  static std::string seen;
  log = &log_;
  const auto before = ZELSysLog::SetWriter([](const char* line) {
    if (*line != 'a') return;
    writeLine(*log, QVRTraceLevelError, "bbbb");
    seen = line;
  });

  writeLine(log_, QVRTraceLevelError, "aaaa");
  ZELSysLog::SetWriter(before);

  EXPECT_EQ(seen, "aaaa");
}

TEST_F(QVRTraceLogTest, WhatAWriterThrowsComesThroughAndTheLineIsOver) {
  recorder_.onLine([] { throw std::runtime_error("log is full"); });
  log_.acquireLock();
  log_.write(QVRTraceLevelError, kFile, 1) << "first";
  EXPECT_THROW(log_.releaseLock(), std::runtime_error);
  recorder_.onLine(nullptr);

  // The lock is free for others, and the next line begins afresh.
  std::thread([&] { writeLine(log_, QVRTraceLevelError, "second"); }).join();
  EXPECT_EQ(recorder_.lines(), (Lines{"first", "second"}));
}

TEST_F(QVRTraceLogTest, LinesOfSeveralThreadsAndLogsStayWhole) {
  QVRTraceLog other("Other", QVRTraceLevelDebug, "");
  constexpr int kLines = 200;
  std::latch start(4);
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&, i] {
      QVRTraceLog& log = i % 2 == 0 ? log_ : other;
      start.arrive_and_wait();
      for (int line = 0; line < kLines; ++line) {
        log.acquireLock();
        std::ostream& out = log.write(QVRTraceLevelError, kFile, 1);
        for (int part = 0; part < 10; ++part) out << i;
        log.releaseLock();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();

  std::array<int, 4> counts{};
  for (const std::string& line : recorder_.lines()) {
    ASSERT_EQ(line, std::string(10, line.front()));
    ++counts.at(static_cast<std::size_t>(line.front() - '0'));
  }
  EXPECT_EQ(counts, (std::array{kLines, kLines, kLines, kLines}));
}

TEST_F(QVRTraceLogTest, DefaultsCannotBeChanged) {
  std::ostringstream out;
  QVRTraceLog::SetDefaultFormat("changed");
  QVRTraceLog::SetDefaultStream(out);
  EXPECT_EQ(QVRTraceLog::SetDefaultStream(std::string("file")), 1);

  EXPECT_EQ(QVRTraceLog::GetDefaultFormat(), kDefaultFormat);
  EXPECT_EQ(&QVRTraceLog::GetDefaultStream(), &std::cerr);
  EXPECT_NE(access("file", F_OK), 0);
}

TEST_F(QVRTraceLogTest, GlobalLogsAreDebugWithDefaultFormat) {
  const ScopedEnvironment system("QVRSystemTraceTraceLevel", nullptr);
  const ScopedEnvironment build("QVRBuildTraceTraceLevel", nullptr);

  EXPECT_EQ(QVRSystemTrace.getName(), "QVRSystemTrace");
  EXPECT_EQ(QVRBuildTrace.getName(), "QVRBuildTrace");
  EXPECT_EQ(QVRSystemTrace.getLevel(), QVRTraceLevelDebug);
  EXPECT_EQ(QVRBuildTrace.getLevel(), QVRTraceLevelDebug);
  EXPECT_EQ(atStart.systemFormat, "DefaultFormat");
  EXPECT_EQ(atStart.buildFormat, "DefaultFormat");
}

TEST_F(QVRTraceLogTest, GlobalLogsObeyVariablesOfTheirNames) {
  const ScopedEnvironment system("QVRSystemTraceTraceLevel", "Call");
  const ScopedEnvironment build("QVRBuildTraceTraceLevel", "Info");

  EXPECT_EQ(QVRSystemTrace.getLevel(), QVRTraceLevelCall);
  EXPECT_EQ(QVRBuildTrace.getLevel(), QVRTraceLevelInfo);
}

// Registered before any library is initialised: it runs after all destructors.
bool tracesAtExit = false;
void traceAtExit() {
  if (!tracesAtExit) return;
  QVRSystemTrace.SetFormat("%nis still there: %m ");
  writeLine(QVRSystemTrace, QVRTraceLevelError, QVRSystemTrace.getLevel());
}
[[maybe_unused]] void registerEarly(int, char**, char**) { std::atexit(&traceAtExit); }
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
[[gnu::section(".preinit_array"), gnu::used]] void (*const early)(int, char**,
                                                                  char**) = &registerEarly;

TEST(QVRTraceLogDeathTest, GlobalLogsOutliveEveryStaticObject) {
  const ScopedEnvironment system("QVRSystemTraceTraceLevel", nullptr);
  EXPECT_EXIT(
      {
        tracesAtExit = true;
        std::exit(0);
      },
      testing::ExitedWithCode(0), "QVRSystemTrace is still there: Error Debug");
}
#endif

}  // namespace
