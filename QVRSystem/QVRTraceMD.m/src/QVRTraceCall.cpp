#include "QVRTraceCall.h"

#include <cstring>

#include "QVRSystem/internal/QVRUnwinding.h"
#include "QVRTraceLog.h"

namespace {

std::unique_ptr<const char[]> copyOf(const char* text) {
  const std::size_t size = std::strlen(text) + 1;
  auto copy = std::make_unique<char[]>(size);
  std::memcpy(copy.get(), text, size);
  return copy;
}

void writeLine(QVRTraceLog& log, QVRTraceLevel level, const char* verb, const char* name) {
  // Nobody would see such a line: no thread need wait for it.
  if (level > QVRTraceLevelWarning) return;
  log.acquireLock();
  log.write(level, verb);
  log.write(level, name);
  log.write(level, "\n");
  log.releaseLock();
}

}  // namespace

QVRTraceCall::QVRTraceCall(QVRTraceLog& log, const char* functionName) : log_(log) {
  const QVRTraceLevel level = log.getLevel();
  if (level == QVRTraceLevelNone) return;
  name_ = copyOf(functionName != nullptr ? functionName : "");
  writeLine(log_, level, "Entering ", name_.get());
}

QVRTraceCall::~QVRTraceCall() noexcept(false) {
  if (name_ == nullptr) return;
  // No unwinding could leave this while an exception is under way or handled.
  const qvr::internal::CancellationHold hold;
  try {
    const QVRTraceLevel level = log_.getLevel();
    if (level != QVRTraceLevelNone) writeLine(log_, level, "Exiting ", name_.get());
  } catch (...) {
    if (qvr::internal::isPlatformUnwinding()) throw;
  }
}
