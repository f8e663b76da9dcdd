// The operations of a path on its text give what their rules say, one by one.
//
// An input is three lines: "=" and the value of HOME (unset without the sign), the text of
// a path, the text of another.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <optional>
#include <string>

#include "Environment.h"
#include "Input.h"
#include "PathModel.h"
#include "Property.h"
#include "QVROSPath.h"

namespace model = fuzz::path;
using fuzz::expect;
using fuzz::expectEqual;

struct QVROSPathTestAccess {
  static std::string unixExpanded(const QVROSPath& path) {
    std::string text = path.path_;
    path._expandUNIXEnvVars(text);
    return text;
  }

  static std::size_t findNextDelimiter(const std::string& text, std::size_t from) {
    return QVROSPath::_findNextDelimiter(text, from);
  }
};

namespace {

void checkValidity(const std::string& text) {
  const QVROSPath path;
  expectEqual("isNTValid", path.isNTValid(text), model::isNtValid(text));
  expectEqual("isUNIXValid", path.isUNIXValid(text), model::isUnixValid(text));
  expectEqual("isValid", QVROSPath(text).isValid(), model::isNtValid(model::converted(text, '\\')));
}

void checkText(const std::string& given) {
  const QVROSPath path(given);
  const std::string text = model::converted(given, '\\');
  expectEqual("text", path.getPath(), text);
  expectEqual("getNTPath", path.getNTPath(), text);
  expectEqual("getUNIXPath", path.getUNIXPath(), model::converted(given, '/'));
  expectEqual("basename", path.basename(), model::basename(text));
  expectEqual("dirname", path.dirname(), model::dirname(text));
  checkValidity(given);
  // As long as a valid text can be, and one longer.
  std::string padded = given;
  padded.resize(1024, 'a');
  checkValidity(padded);
  checkValidity(padded + 'a');
}

void checkAssignment(const std::string& given, const std::string& other) {
  const QVROSPath made(given);
  QVROSPath assigned(other);
  const bool isEqual = model::converted(given, '\\') == model::converted(other, '\\');
  expectEqual("== text", assigned == given, isEqual);
  expectEqual("!= path", assigned != made, !isEqual);
  expectEqual("== C text", assigned == given.c_str(), QVROSPath(given.c_str()) == other);
  assigned.setPath(given);
  expectEqual("setPath", assigned.getPath(), made.getPath());
  assigned = other;
  assigned = given;
  expectEqual("assigned", assigned.getPath(), made.getPath());
  assigned = given.c_str();
  expectEqual("assigned", assigned.getPath(), QVROSPath(given.c_str()).getPath());
}

/// A name appended to a directory: the two are had back.
void checkSplit(const std::string& directory, const std::string& name) {
  if (directory.empty() || directory.back() == '\\' || name.empty()) return;
  if (name.find_first_of("/\\") != std::string::npos) return;
  QVROSPath path(directory);
  path.appendPath(name);
  expectEqual("basename of joined", path.basename(), name);
  expectEqual("dirname of joined", path.dirname(), directory);
}

void checkAppended(const std::string& given, const std::string& part) {
  QVROSPath path(given);
  path.appendPath(part);
  expectEqual("appendPath", path.getPath(), model::joined(model::converted(given, '\\'), part));
  checkSplit(model::converted(given, '\\'), part);
}

void checkExpanded(const std::string& given, const std::string& home) {
  const QVROSPath path(given);
  const std::string text = model::converted(given, '\\');
  const std::string expanded = model::expanded(text, home);
  expectEqual("getExpandedPath", path.getExpandedPath(), expanded);
  expectEqual("_expandUNIXEnvVars", QVROSPathTestAccess::unixExpanded(path),
              model::unixExpanded(text, home));
  const bool exists = model::exists(expanded);
  expectEqual("exists", path.exists(), exists);
  struct stat status;
  const bool isDirectory = exists && stat(model::converted(expanded, '/').c_str(), &status) == 0 &&
                           S_ISDIR(status.st_mode);
  expectEqual("isDirectory", path.isDirectory(), isDirectory);
}

void checkFull(const std::string& given, const std::string& home) {
  const std::string expanded = model::expanded(model::converted(given, '\\'), home);
  const auto full = fuzz::outcomeOf([&] { return QVROSPath(given).getFullPath(); });
  if (expanded.empty()) return expectEqual("failure", full.failure, "Could not access file");
  char directory[PATH_MAX];
  expect("current directory", getcwd(directory, sizeof directory) != nullptr);
  expectEqual("getFullPath", full, {{}, model::full(expanded, directory)});
  if (full.value.find('%') != std::string::npos) return;
  expectEqual("getFullPath again", QVROSPath(full.value).getFullPath(), full.value);
}

void checkSearch(const std::string& text) {
  for (std::size_t from = 0; from <= text.size() + 1; ++from) {
    expectEqual("_findNextDelimiter", QVROSPathTestAccess::findNextDelimiter(text, from),
                std::min(text.find('\\', from), text.find('/', from)));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  fuzz::Input first(input.line());
  std::optional<fuzz::Variable> variable;
  std::string home;
  if (first.character() == '=') {
    variable.emplace("HOME", first.rest());
    home = std::string(first.rest()).c_str();
  } else {
    unsetenv("HOME");
  }
  const std::string text(input.line());
  const std::string part(input.line());
  checkText(text);
  checkAssignment(text, part);
  checkAppended(text, part);
  checkExpanded(text, home);
  checkFull(text, home);
  checkSearch(text);
  return 0;
}
