// Search paths under any sequence of operations hold what a plain list of texts would.
//
// An input is the value of HOME and then an operation on each line: a letter, where the
// operation takes a place its number, and a text.
#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Environment.h"
#include "Input.h"
#include "PathModel.h"
#include "Property.h"
#include "QVROSSearchPath.h"

namespace {

using fuzz::expectEqual;
using fuzz::Input;

using Texts = std::vector<std::string>;

void removeAll(Texts& texts, const std::string& text) {
  texts.erase(std::remove(texts.begin(), texts.end(), text), texts.end());
}

/// What a search path has to be: the rule of each operation by itself.
struct Model {
  static Texts parsed(std::string_view list) {
    Texts texts;
    std::string text;
    for (const char c : std::string(list) + ';') {
      if (c != ';') {
        text += c;
      } else if (!text.empty()) {
        texts.push_back(fuzz::path::converted(std::exchange(text, {}), '\\'));
      }
    }
    return texts;
  }

  void pushBack(const Texts& added) {
    for (const std::string& text : added) {
      removeAll(entries, text);
      entries.push_back(text);
    }
  }

  void pushFront(const Texts& added) {
    for (auto text = added.rbegin(); text != added.rend(); ++text) {
      removeAll(entries, *text);
      entries.insert(entries.begin(), *text);
    }
  }

  void insert(std::size_t place, const Texts& added) {
    Texts before(entries.begin(), entries.begin() + static_cast<std::ptrdiff_t>(place));
    Texts after(entries.begin() + static_cast<std::ptrdiff_t>(place), entries.end());
    for (const std::string& text : added) {
      removeAll(before, text);
      removeAll(after, text);
    }
    entries = before;
    entries.insert(entries.end(), added.begin(), added.end());
    entries.insert(entries.end(), after.begin(), after.end());
  }

  void remove(const Texts& removed) {
    for (const std::string& text : removed) {
      const auto found = std::find(entries.begin(), entries.end(), text);
      if (found != entries.end()) entries.erase(found);
    }
  }

  std::string list() const {
    std::string list;
    for (const std::string& text : entries) list += text + static_cast<char>(delimiter);
    return list;
  }

  bool operator==(const Model&) const = default;

  unsigned char delimiter = ';';
  Texts entries;
};

/// A search path and what it has to be.
struct Subject {
  QVROSSearchPath actual;
  Model expected;
};

Texts entriesOf(const QVROSSearchPath& path) {
  Texts texts;
  for (const QVROSPath& entry : path) texts.push_back(entry.getPath());
  return texts;
}

void check(const Subject& subject) {
  expectEqual("entries", entriesOf(subject.actual), subject.expected.entries);
  expectEqual("list", subject.actual.getPathList(), subject.expected.list());
}

void checkCopy(const Subject& subject) {
  const QVROSSearchPath copy = subject.actual;
  check({copy, subject.expected});
  expectEqual("copy is equal", copy == subject.actual, true);
  QVROSSearchPath changed = copy;
  changed.setDelimiter(static_cast<unsigned char>(subject.expected.delimiter + 1));
  expectEqual("delimiter counts", changed != copy, true);
}

void findPath(Subject& subject, const std::string& text) {
  const std::string path = fuzz::path::converted(text, '\\');
  const Texts& entries = subject.expected.entries;
  const auto place = std::find(entries.begin(), entries.end(), path) - entries.begin();
  QVROSSearchPath& actual = subject.actual;
  expectEqual("place found", std::distance(actual.begin(), actual.findPath(QVROSPath(text))),
              place);
  const QVROSSearchPath& constant = actual;
  expectEqual("place found", std::distance(constant.begin(), constant.findPath(QVROSPath(text))),
              place);
}

/// @return whether some directory has the file, and the path of the first that does.
std::pair<bool, std::string> lookUp(const Texts& entries, const std::string& text,
                                    const std::string& home) {
  const std::string file = fuzz::path::converted(text, '\\');
  for (const std::string& entry : entries) {
    const std::string directory = fuzz::path::converted(fuzz::path::expanded(entry, home), '\\');
    const std::string candidate = fuzz::path::joined(directory, fuzz::path::expanded(file, home));
    // What stands in a variable is expanded again when the path is asked for.
    if (fuzz::path::exists(fuzz::path::expanded(candidate, home))) return {true, candidate};
  }
  return {false, file};
}

void findFile(const Subject& subject, const std::string& text, const std::string& home) {
  const auto [isFound, path] = lookUp(subject.expected.entries, text, home);
  QVROSPath result("before");
  expectEqual("file found", subject.actual.findFile(QVROSPath(text), result), isFound);
  expectEqual("path of the file", result.getPath(), path);
}

void insert(Subject& subject, Input line) {
  const auto end = static_cast<unsigned>(subject.expected.entries.size() + 1);
  const unsigned place = line.number(end);
  const std::string list(line.rest());
  subject.actual.insertPath(std::next(subject.actual.begin(), place), list);
  subject.expected.insert(place, Model::parsed(list));
}

void erase(Subject& subject, Input line) {
  Texts& entries = subject.expected.entries;
  if (entries.empty()) return;
  const unsigned place = line.number(static_cast<unsigned>(entries.size()));
  subject.actual.removePath(std::next(subject.actual.begin(), place));
  entries.erase(entries.begin() + place);
}

void apply(char operation, const std::string& text, Subject& subject, const Subject& other) {
  Model& expected = subject.expected;
  switch (operation) {
    case 'b':
      subject.actual.pushBack(text);
      return expected.pushBack(Model::parsed(text));
    case 'f':
      subject.actual.pushFront(text);
      return expected.pushFront(Model::parsed(text));
    case 'p':
      subject.actual += text;
      return expected.pushBack(Model::parsed(text));
    case 'a':
      subject.actual = text;
      expected.entries = Model::parsed(text);
      return;
    case 'n':
      subject.actual = QVROSSearchPath(text, ':');
      expected = {':', Model::parsed(text)};
      return;
    case 'i':
      return insert(subject, Input(text));
    case 'd':
      return erase(subject, Input(text));
    case 'r':
      subject.actual.removePath(text);
      return expected.remove(Model::parsed(text));
    case 'c':
      subject.actual.clear();
      return expected.entries.clear();
    case 'D':
      expected.delimiter = static_cast<unsigned char>(Input(text).character());
      return subject.actual.setDelimiter(expected.delimiter);
    case '=':
      subject.actual = other.actual;
      expected = other.expected;
      return;
    case '+':
      subject.actual += other.actual;
      return expected.pushBack(Texts(other.expected.entries));
    case '*':
      subject.actual += subject.actual;
      return expected.pushBack(Texts(expected.entries));
    default:
      return findPath(subject, text);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const std::string home(input.line());
  const fuzz::Variable variable("HOME", home);
  const std::string value = home.c_str();
  Subject subject;
  Subject other;
  while (!input.isAtEnd()) {
    Input line(input.line());
    const char operation = line.character();
    const std::string text(line.rest());
    if (operation == 's') {
      std::swap(subject, other);
    } else if (operation == 'F') {
      findFile(subject, text, value);
    } else {
      apply(operation, text, subject, other);
    }
    check(subject);
    check(other);
    expectEqual("equality", subject.actual == other.actual, subject.expected == other.expected);
  }
  checkCopy(subject);
  return 0;
}
