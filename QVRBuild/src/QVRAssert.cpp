#include "QVRAssert.h"

#include <atomic>
#include <cstdio>

namespace {

void writeToStandardError(const char* category, const char* text, const char* file, int line) {
  std::fprintf(stderr, "%s: %s, %s(%d)\n", category, text, file, line);
}

constinit std::atomic<QVRAssertHandler> currentHandler{&writeToStandardError};

}  // namespace

void QVRReportAssert(const char* category, const char* text, const char* file, int line) {
  currentHandler.load()(category, text, file, line);
}

QVRAssertHandler QVRSetAssertHandler(QVRAssertHandler handler) {
  return currentHandler.exchange(handler != nullptr ? handler : &writeToStandardError);
}
