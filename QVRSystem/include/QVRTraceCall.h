// Lines for the entry to and the exit from a function.
#pragma once

#include <memory>

#include "QVRSystemExport.h"

class QVRTraceLog;

/// Writes "Entering NAME" when it is made and "Exiting NAME" when its scope
/// ends, each a line without a header, at the level of its log at that moment.
///
/// So the lines reach the system log where that level is Fatal, Error or
/// Warning. At None nothing is written; what was made at None writes no
/// exit either.
class QVRSYSTEM_API QVRTraceCall {
 public:
  /// @param log outlives this object.
  /// @param functionName copied; null is the empty text.
  /// @throws std::bad_alloc, what the writer throws; the lock of the lines is
  ///   given back.
  QVRTraceCall(QVRTraceLog& log, const char* functionName);

  /// Lets no failure out: a line that cannot be written is lost. Cancelling the
  /// calling thread waits until this returns; only the platform's own unwinding of
  /// a thread that a writer ends passes.
  ~QVRTraceCall() noexcept(false);

  QVRTraceCall(const QVRTraceCall&) = delete;
  QVRTraceCall& operator=(const QVRTraceCall&) = delete;

 private:
  QVRTraceLog& log_;
  std::unique_ptr<const char[]> name_;  // null where made at level None
};
