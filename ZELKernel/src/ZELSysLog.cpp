#include "ZELSysLog.h"

#include <sys/uio.h>
#include <unistd.h>

#include <atomic>
#include <cstring>

namespace {

// One system call, so that lines of several threads and processes stay whole.
// Nothing can be done about a log that cannot be written.
void writeToStandardError(const char* line) {
  const std::size_t length = std::strlen(line);
  const bool hasNewline = length > 0 && line[length - 1] == '\n';
  char newline = '\n';
  const iovec parts[] = {{const_cast<char*>(line), length}, {&newline, 1}};
  [[maybe_unused]] const ssize_t written = writev(STDERR_FILENO, parts, hasNewline ? 1 : 2);
}

constinit std::atomic<ZELSysLog::Writer> currentWriter{&writeToStandardError};

}  // namespace

void ZELSysLog::Write(const char* line) { currentWriter.load()(line); }

ZELSysLog::Writer ZELSysLog::SetWriter(Writer writer) {
  return currentWriter.exchange(writer != nullptr ? writer : &writeToStandardError);
}
