#include "QVRTraceLog.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <iterator>
#include <string_view>

#include "QVRSysDateTime.h"
#include "QVRSysThreadId.h"
#include "QVRSystem/internal/QVRAtomic.h"
#include "QVRSystem/internal/QVRFork.h"
#include "QVRSystem/internal/QVRThreadState.h"
#include "QVRSystem/platform/QVRPlatformLocale.h"
#include "QVRSystem/platform/QVRPlatformThread.h"
#include "QVRTraceLine.h"
#include "ZELSysLog.h"

namespace {

using qvr::internal::Atomic;
using qvr::internal::ForkLock;
using qvr::internal::ForkRank;
using qvr::internal::OpenSpan;
using qvr::internal::OpenWait;
using qvr::internal::ShortSection;
using qvr::trace::Line;
using qvr::trace::LineBuffer;

constexpr char kDefaultLevelVariable[] = "QVRDefaultTraceLevel";
constexpr char kLevelVariableEnding[] = "TraceLevel";
constexpr char kDefaultFormat[] = "%n(%p) %f(%l) %m";
constexpr char kStandsForDefaultFormat[] = "DefaultFormat";
constexpr char kBlankFormat[] = " ";

constexpr std::string_view kLevelTexts[] = {"None", "Fatal", "Error", "Warning",
                                            "Info", "Debug", "Call",  "Unspec"};

bool isLevel(QVRTraceLevel level) {
  return level >= QVRTraceLevelNone && level <= QVRTraceLevelUnspec;
}

bool isEmitted(QVRTraceLevel level) {
  return level >= QVRTraceLevelNone && level <= QVRTraceLevelWarning;
}

QVRTraceLevel levelOf(std::string_view text) {
  const auto* const found = std::find(std::begin(kLevelTexts), std::end(kLevelTexts), text);
  return found != std::end(kLevelTexts)
             ? static_cast<QVRTraceLevel>(found - std::begin(kLevelTexts))
             : QVRTraceLevelUnspec;
}

std::string_view orEmpty(const char* text) { return text != nullptr ? text : ""; }

std::string_view behindLastBackslash(std::string_view file) {
  // Searching forwards is fast, and most files here have none.
  if (file.find('\\') == file.npos) return file;
  return file.substr(file.rfind('\\') + 1);
}

std::uint32_t processId() {
  std::uint32_t id = 0;
  qvr::platform::processId(id);
  return id;
}

/// What the directives of one header stand for.
struct HeaderFacts {
  std::string_view name;
  QVRTraceLevel level;
  std::string_view file;
  int line;
};

template <class Value>
void appendField(LineBuffer& out, Value value) {
  out.append(value);
  out.append(' ');
}

void appendTwoDigits(LineBuffer& out, int number) {
  out.append(static_cast<char>('0' + number / 10));
  out.append(static_cast<char>('0' + number % 10));
}

/// The present time as "%H:%M:%S %p" gives it, at a fraction of the cost of
/// strftime().
void appendTime(LineBuffer& out) {
  const QVRSysTime now = QVRSysTime::Now();
  appendTwoDigits(out, now.getHourField());
  out.append(':');
  appendTwoDigits(out, now.getMinuteField());
  out.append(':');
  appendTwoDigits(out, now.getSecondField());
  out.append(' ');
  const char* halfOfDay = "";
  qvr::platform::halfOfDay(now.isPM(), halfOfDay);
  appendField(out, std::string_view(halfOfDay));
}

void appendDirective(LineBuffer& out, char directive, const HeaderFacts& facts) {
  switch (directive) {
    case 'F':
      return appendField(out, facts.file);
    case 'f':
      return appendField(out, behindLastBackslash(facts.file));
    case 'l':
      return appendField(out, std::int64_t{facts.line});
    case 'n':
      return appendField(out, facts.name);
    case 'p':
      return appendField(out, static_cast<std::int64_t>(QVRSysGetThreadId().hash()));
    case 'P':
      return appendField(out, std::int64_t{processId()});
    case 't':
    case 'T':
      return appendTime(out);
    case 'm':
      return out.append(isLevel(facts.level) ? kLevelTexts[facts.level] : "");
    default:
      return out.append(directive);
  }
}

void appendHeader(LineBuffer& out, std::string_view format, const HeaderFacts& facts) {
  for (auto next = format.begin(); next != format.end(); ++next) {
    if (*next != '%') {
      out.append(*next);
    } else if (++next != format.end()) {
      appendDirective(out, *next, facts);
    } else {
      return;
    }
  }
}

constinit Atomic<QVRTraceLevel> defaultLevel{QVRTraceLevelUnspec};  // written under ClassMutex

/// A lock as long as the process lives: in storage of zeros it needs no
/// constructor, and its destructor never runs.
union LineLock {
  constexpr LineLock() noexcept : zeros{} {}
  ~LineLock() {}

  char zeros[sizeof(QVRSysFastMutexLock)];
  QVRSysFastMutexLock lock;
};

constinit LineLock lineLock;

// In a short section. A thread may hold them while it runs an operand or a writer.
void waitForLines(QVRSysFastMutexLock& lines) QVR_ACQUIRE(lines) {
  const OpenWait wait;
  lines.acquire();
}

void takeLines(QVRSysFastMutexLock& lines) QVR_ACQUIRE(lines) {
  const ShortSection section;
  waitForLines(lines);
  OpenSpan::begin();
}

void giveLinesBack(QVRSysFastMutexLock& lines) QVR_RELEASE(lines) {
  {
    const ShortSection section;
    OpenSpan::end();
    lines.release();
  }
  OpenSpan::stopIfDeferred();
}

}  // namespace

constinit QVRSysFastMutexLock& QVRTraceLog::ClassMutex = lineLock.lock;

// Memory is asked for and given back without the lock of the instance.
struct [[gnu::visibility("hidden")]] QVRTraceLog::State {
  State(const std::string& logName, QVRTraceLevel logLevel, const std::string& logFormat)
      : name(logName), levelVariable(logName + kLevelVariableEnding), level(logLevel) {
    format.reserve(kShortestRoom);
    setFormat(logFormat);
  }

  void setFormat(const std::string& newFormat);
  /// The same, where the format or else `room` has room for it.
  bool trySetFormat(const std::string& newFormat, std::string& room);
  std::string copyFormat();
  /// Makes `headerFormat` the format of the next header.
  void takeFormat() QVR_REQUIRES(ClassMutex);
  void emit() QVR_REQUIRES(ClassMutex);

  const std::string name;
  const std::string levelVariable;  // in the environment

  QVRSysFastMutexLock instanceLock;
  Atomic<QVRTraceLevel> level;  // written under instanceLock
  // Always with room for what it may be replaced by.
  std::string format QVR_GUARDED_BY(instanceLock);
  // Both written under instanceLock, and read without by who would change nothing.
  Atomic<std::uint64_t> formatVersion{0};
  Atomic<bool> isFormatBlank{false};

  Line outermost QVR_GUARDED_BY(ClassMutex);
  Line* current QVR_GUARDED_BY(ClassMutex) = &outermost;
  std::string headerFormat QVR_GUARDED_BY(ClassMutex);  // that of headerVersion
  std::uint64_t headerVersion QVR_GUARDED_BY(ClassMutex) = 0;

  static constexpr std::size_t kShortestRoom = sizeof kDefaultFormat;

  static const ForkLock forkLocks[];
};

void QVRTraceLog::State::setFormat(const std::string& newFormat) {
  // Every exception that is made blanks the system log: once is enough.
  if (isFormatBlank && newFormat == kBlankFormat) return;
  std::string room;
  while (!trySetFormat(newFormat, room)) {
    room.reserve(std::max(newFormat.size(), kShortestRoom));
  }
}

bool QVRTraceLog::State::trySetFormat(const std::string& newFormat, std::string& room) {
  const ShortSection section;
  const QVRSysFastMutexLock::LockGuard guard(instanceLock);
  if (format.capacity() < newFormat.size()) {
    if (room.capacity() < newFormat.size()) return false;
    format.swap(room);
  }
  format = newFormat;
  isFormatBlank = format == kBlankFormat;
  ++formatVersion;
  return true;
}

std::string QVRTraceLog::State::copyFormat() {
  std::string copy;
  for (std::size_t needed = 0;;) {
    copy.reserve(needed);
    const ShortSection section;
    const QVRSysFastMutexLock::LockGuard guard(instanceLock);
    needed = format.size();
    if (copy.capacity() < needed) continue;
    copy = format;
    return copy;
  }
}

void QVRTraceLog::State::takeFormat() {
  for (std::size_t needed = 0; formatVersion != headerVersion;) {
    headerFormat.reserve(needed);
    const ShortSection section;
    const QVRSysFastMutexLock::LockGuard guard(instanceLock);
    if (format == kStandsForDefaultFormat) format = kDefaultFormat;
    needed = format.size();
    if (headerFormat.capacity() < needed) continue;
    headerFormat = format;
    headerVersion = formatVersion;
  }
}

void QVRTraceLog::State::emit() {
  if (!isEmitted(current->level)) return;
  // The writer is not ours, and may trace to this log itself: that becomes a
  // line inside this one, which stays as it is until the writer returns.
  ZELSysLog::Write(current->buffer.text());
}

// Before and after every other static object of the library.
[[gnu::init_priority(101)]] QVRTraceLog QVRSystemTrace("QVRSystemTrace", QVRTraceLevelDebug,
                                                       kStandsForDefaultFormat);
[[gnu::init_priority(101)]] QVRTraceLog QVRBuildTrace("QVRBuildTrace", QVRTraceLevelDebug,
                                                      kStandsForDefaultFormat);

const ForkLock QVRTraceLog::State::forkLocks[] = {
    {ForkRank::TraceLines, ClassMutex.getNativeLock()},
    {ForkRank::TraceSettings, QVRSystemTrace.state_->instanceLock.getNativeLock()},
    {ForkRank::TraceSettings, QVRBuildTrace.state_->instanceLock.getNativeLock()},
};

std::ostream& operator<<(std::ostream& out, QVRTraceLevel level) {
  return out << (isLevel(level) ? kLevelTexts[level] : "Unknown");
}

QVRTraceLog::QVRTraceLog(const std::string& name, QVRTraceLevel level, const std::string& format)
    : state_(new State(name, level, format)) {}

QVRTraceLog::~QVRTraceLog() {
  const bool isGlobal = this == &QVRSystemTrace || this == &QVRBuildTrace;
  if (!isGlobal) delete state_;
}

std::string QVRTraceLog::getName() const { return state_->name; }

void QVRTraceLog::setLevel(QVRTraceLevel level) {
  const ShortSection section;
  const QVRSysFastMutexLock::LockGuard guard(state_->instanceLock);
  state_->level = level;
}

QVRTraceLevel QVRTraceLog::getLevel() const {
  const QVRTraceLevel ofAll = GetDefaultLevel();
  if (ofAll != QVRTraceLevelUnspec) return ofAll;
  const char* const own = std::getenv(state_->levelVariable.c_str());
  return own != nullptr ? levelOf(own) : state_->level.load();
}

bool QVRTraceLog::detLevel(QVRTraceLevel level) const {
  return level <= QVRTraceLevelWarning || getLevel() >= level;
}

void QVRTraceLog::SetFormat(const std::string& format) { state_->setFormat(format); }

std::string QVRTraceLog::GetFormat() const { return state_->copyFormat(); }

void QVRTraceLog::acquireLock() {
  takeLines(ClassMutex);
  try {
    state_->current = &state_->current->begin();
  } catch (...) {
    giveLinesBack(ClassMutex);
    throw;
  }
}

std::ostream& QVRTraceLog::write(QVRTraceLevel level, const char* text) {
  Line& line = *state_->current;
  line.level = level;
  const std::string_view appended = orEmpty(text);
  return line.stream.write(appended.data(), static_cast<std::streamsize>(appended.size()));
}

std::ostream& QVRTraceLog::write(QVRTraceLevel level, const char* file, int lineNumber) {
  Line& line = *state_->current;
  line.level = level;
  line.forgetErrors();
  const std::size_t before = line.buffer.length();
  try {
    state_->takeFormat();
    appendHeader(line.buffer, state_->headerFormat,
                 {state_->name, level, orEmpty(file), lineNumber});
  } catch (...) {
    line.buffer.truncate(before);
    throw;
  }
  return line.stream;
}

// The guard gives the lock back, also when the writer throws or its thread is
// cancelled; the analysis does not follow that.
void QVRTraceLog::releaseLock() QVR_NO_THREAD_SAFETY_ANALYSIS {
  struct Ending {
    ~Ending() QVR_NO_THREAD_SAFETY_ANALYSIS {
      state.current = &state.current->end();
      giveLinesBack(ClassMutex);
    }
    State& state;
  };
  const Ending ending{*state_};
  state_->emit();
}

void QVRTraceLog::SetDefaultLevel(QVRTraceLevel level) {
  const ShortSection section;
  waitForLines(ClassMutex);
  defaultLevel = level;
  ClassMutex.release();
}

QVRTraceLevel QVRTraceLog::GetDefaultLevel() {
  const char* const ofAll = std::getenv(kDefaultLevelVariable);
  return ofAll != nullptr ? levelOf(ofAll) : defaultLevel.load();
}

std::string QVRTraceLog::GetDefaultFormat() { return kDefaultFormat; }

std::ostream& QVRTraceLog::GetDefaultStream() { return std::cerr; }

void QVRTraceLog::SetDefaultFormat(const std::string&) {}

void QVRTraceLog::SetDefaultStream(std::ostream&) {}

int QVRTraceLog::SetDefaultStream(const std::string&) { return 1; }
