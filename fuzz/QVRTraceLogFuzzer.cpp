// Lines of a trace log have the header that its format tells, and reach the writer as their
// level says.
//
// An input is five lines: the log's name, its format, the file, "=" and the level of all logs
// in the environment (unset without the sign), the same for this log. Then an operation on
// each line: a letter, where it takes a level a digit, where a line its number and a blank,
// and a text.
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "Environment.h"
#include "Input.h"
#include "Property.h"
#include "QVRTraceCall.h"
#include "QVRTraceLog.h"
#include "ZELSysLog.h"

namespace {

using fuzz::expectEqual;
using fuzz::Input;

const std::vector<std::string> kLevelTexts = {"None", "Fatal", "Error", "Warning",
                                              "Info", "Debug", "Call",  "Unspec"};
constexpr int kUnspec = 7;
constexpr unsigned kMaxLine = 3'000'000'000;

std::vector<std::string> written;

void record(const char* line) { written.emplace_back(line); }

/// One level more at either end than there are.
QVRTraceLevel levelOf(char digit) {
  return static_cast<QVRTraceLevel>(static_cast<unsigned char>(digit) % 10 - 1);
}

std::time_t now() {
  std::timespec time;
  clock_gettime(CLOCK_REALTIME, &time);
  return time.tv_sec;
}

/// What a log has to be: the rule of each operation by itself.
struct Model {
  static int levelOfText(const std::string& text) {
    for (int level = 0; level < kUnspec; ++level) {
      if (text == kLevelTexts[static_cast<std::size_t>(level)]) return level;
    }
    return kUnspec;
  }

  int effectiveLevel() const {
    const char* const ofAll = std::getenv("QVRDefaultTraceLevel");
    const int overriding = ofAll != nullptr ? levelOfText(ofAll) : defaultLevel;
    if (overriding != kUnspec) return overriding;
    const char* const own = std::getenv((name + "TraceLevel").c_str());
    return own != nullptr ? levelOfText(own) : level;
  }

  std::string header(int lineLevel, const std::string& file, int line, std::time_t time) const {
    std::string header;
    for (std::size_t i = 0; i < format.size(); ++i) {
      if (format[i] != '%') {
        header += format[i];
      } else if (++i < format.size()) {
        header += directive(format[i], lineLevel, file, line, time);
      }
    }
    return header;
  }

  std::string directive(char letter, int lineLevel, const std::string& file, int line,
                        std::time_t time) const {
    switch (letter) {
      case 'F':
        return file + ' ';
      case 'f':
        return file.substr(file.find_last_of('\\') + 1) + ' ';
      case 'l':
        return std::to_string(line) + ' ';
      case 'n':
        return name + ' ';
      case 'p':
        return std::to_string(syscall(SYS_gettid)) + ' ';
      case 'P':
        return std::to_string(getpid()) + ' ';
      case 't':
      case 'T':
        return localTime(time) + ' ';
      case 'm':
        return isLevel(lineLevel) ? kLevelTexts[static_cast<std::size_t>(lineLevel)] : "";
      default:
        return {letter};
    }
  }

  static std::string localTime(std::time_t time) {
    std::tm local;
    localtime_r(&time, &local);
    char text[120];
    return {text, std::strftime(text, sizeof text, "%H:%M:%S %p", &local)};
  }

  static bool isLevel(int level) { return level >= 0 && level <= kUnspec; }

  /// What reaches the writer of a line: all up to its first zero, or nothing.
  static std::vector<std::string> emitted(int lineLevel, const std::string& line) {
    if (lineLevel < 0 || lineLevel > 3) return {};
    return {line.c_str()};
  }

  std::string name;
  std::string format;
  int level = kUnspec;
  int defaultLevel = kUnspec;
};

void checkLevels(const QVRTraceLog& log, const Model& model) {
  const int effective = model.effectiveLevel();
  expectEqual("getLevel", static_cast<int>(log.getLevel()), effective);
  for (int level = -1; level <= kUnspec + 1; ++level) {
    const auto typed = static_cast<QVRTraceLevel>(level);
    expectEqual("detLevel", log.detLevel(typed), level < 4 || effective >= level);
    std::ostringstream out;
    out << typed;
    expectEqual("level written", out.str(),
                Model::isLevel(level) ? kLevelTexts[static_cast<std::size_t>(level)] : "Unknown");
  }
}

void writeWithHeader(QVRTraceLog& log, Model& model, const std::string& file, Input rest) {
  const QVRTraceLevel level = levelOf(rest.character());
  const auto line = static_cast<int>(rest.number(kMaxLine));
  rest.character();
  const std::string text(rest.rest());
  std::time_t time;
  do {
    written.clear();
    time = now();
    log.acquireLock();
    log.write(level, file.c_str(), line) << text;
    log.releaseLock();
  } while (time != now());
  if (model.format == "DefaultFormat") model.format = "%n(%p) %f(%l) %m";
  expectEqual("line with a header", written,
              Model::emitted(level, model.header(level, file, line, time) + text));
}

void writeText(QVRTraceLog& log, Input rest) {
  const QVRTraceLevel level = levelOf(rest.character());
  const std::string text(rest.until('%'));
  const std::string more(rest.rest());
  written.clear();
  log.acquireLock();
  log.write(level, text.c_str()) << more;
  log.write(level, text.c_str());
  log.releaseLock();
  expectEqual("line without a header", written,
              Model::emitted(level, text.c_str() + more + text.c_str()));
}

void traceCall(QVRTraceLog& log, const Model& model, const std::string& function) {
  written.clear();
  { const QVRTraceCall call(log, function.c_str()); }
  const int level = model.effectiveLevel();
  std::vector<std::string> expected;
  if (level >= 1 && level <= 3) {
    const std::string ending = std::string(function.c_str()) + '\n';
    expected = {"Entering " + ending, "Exiting " + ending};
  }
  expectEqual("call", written, expected);
}

void apply(char operation, Input rest, QVRTraceLog& log, Model& model, const std::string& file) {
  switch (operation) {
    case 'h':
      return writeWithHeader(log, model, file, rest);
    case 't':
      return writeText(log, rest);
    case 'c':
      return traceCall(log, model, std::string(rest.rest()));
    case 'f':
      model.format = rest.rest();
      return log.SetFormat(model.format);
    case 'd':
      model.defaultLevel = levelOf(rest.character());
      return QVRTraceLog::SetDefaultLevel(static_cast<QVRTraceLevel>(model.defaultLevel));
    default:
      model.level = levelOf(rest.character());
      return log.setLevel(static_cast<QVRTraceLevel>(model.level));
  }
}

/// A name that a variable of the environment can have.
std::string nameOf(std::string_view line) {
  std::string name = std::string(line).c_str();
  std::replace(name.begin(), name.end(), '=', '_');
  return name;
}

class OptionalVariable {
 public:
  OptionalVariable(const std::string& name, Input line) {
    if (line.character() == '=') variable_.emplace(name, line.rest());
  }

 private:
  std::optional<fuzz::Variable> variable_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  Model model;
  model.name = nameOf(input.line());
  model.format = input.line();
  const std::string file = std::string(input.line()).c_str();
  const OptionalVariable ofAll("QVRDefaultTraceLevel", Input(input.line()));
  const OptionalVariable own(model.name + "TraceLevel", Input(input.line()));

  ZELSysLog::SetWriter(&record);
  QVRTraceLog::SetDefaultLevel(QVRTraceLevelUnspec);
  QVRTraceLog log(model.name, QVRTraceLevelUnspec, model.format);
  while (!input.isAtEnd()) {
    Input line(input.line());
    const char operation = line.character();
    apply(operation, line, log, model, file);
    checkLevels(log, model);
    expectEqual("format", log.GetFormat(), model.format);
    expectEqual("name", log.getName(), model.name);
  }
  return 0;
}
