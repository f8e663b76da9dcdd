// Where conditions that cannot happen are reported.
#pragma once

#include "QVRBuildExport.h"

/// Receives a report: a category ("Program error", "Assertion"), a message or
/// the expression that did not hold, and the source and line that report it.
/// All texts live only for the call.
using QVRAssertHandler = void (*)(const char* category, const char* text, const char* file,
                                  int line);

/// Hands a report to the process's handler, on the caller's thread and without a
/// lock of its own. Returns when the handler does; the caller then carries on.
QVRBUILD_API void QVRReportAssert(const char* category, const char* text, const char* file,
                                  int line);

/// Makes `handler` the process's handler and returns the one before. Null
/// restores the default, which writes one line to standard error. Any thread
/// may call it at any time; a report under way still reaches the one before.
QVRBUILD_API QVRAssertHandler QVRSetAssertHandler(QVRAssertHandler handler);
