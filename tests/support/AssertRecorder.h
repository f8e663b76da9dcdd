// Records the assertions that are reported within a scope.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

/// One reported assertion.
struct AssertRecord {
  std::string category;
  std::string text;
  std::string file;
  int line;

  bool operator==(const AssertRecord&) const = default;
};

std::ostream& operator<<(std::ostream& out, const AssertRecord& record);

/// Takes the place of the process's assertion handler while it lives, one at a
/// time. Reports of any thread are recorded.
class AssertRecorder {
 public:
  AssertRecorder();
  ~AssertRecorder();

  AssertRecorder(const AssertRecorder&) = delete;
  AssertRecorder& operator=(const AssertRecorder&) = delete;

  std::vector<AssertRecord> all() const;

  /// The one report that there is. Fails the test where there is none or more.
  AssertRecord only() const;
};
