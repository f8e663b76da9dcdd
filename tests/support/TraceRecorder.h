// Records the trace lines that are emitted within a scope.
#pragma once

#include <functional>
#include <string>
#include <vector>

/// Takes the place of the process's trace writer while it lives, one at a time.
/// Lines come one after the other, as the library writes them.
class TraceRecorder {
 public:
  TraceRecorder();
  ~TraceRecorder();

  TraceRecorder(const TraceRecorder&) = delete;
  TraceRecorder& operator=(const TraceRecorder&) = delete;

  /// Has `action` done within the writer, once the line is recorded.
  void onLine(std::function<void()> action);

  /// The lines so far.
  std::vector<std::string> lines() const;

  /// The one line that there is. Fails the test where there is none or more.
  std::string only() const;
};
