// The host platform's system log.
#pragma once

#include "ZELKernelExport.h"

/// Receives every trace line that is emitted.
///
/// @par Thread safety
/// Any thread may call any operation. No lock is held while a writer runs.
class ZELKERNEL_API ZELSysLog {
 public:
  /// Takes one zero-terminated line, which lives only for the call.
  using Writer = void (*)(const char* line);

  /// Hands `line` to the process's writer. What a writer throws comes through.
  static void Write(const char* line);

  /// Makes `writer` the process's writer and returns the one before. Null
  /// restores the default, which writes the line to standard error in one
  /// system call, with a newline where it lacks one.
  static Writer SetWriter(Writer writer);
};
