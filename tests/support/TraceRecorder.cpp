#include "support/TraceRecorder.h"

#include <gtest/gtest.h>

#include <mutex>
#include <utility>

#include "ZELSysLog.h"

namespace {

std::mutex mutex;
std::vector<std::string> recorded;
std::function<void()> actionOnLine;
ZELSysLog::Writer writerBefore;

void record(const char* line) {
  {
    const std::lock_guard lock(mutex);
    recorded.push_back(line);
  }
  if (actionOnLine) actionOnLine();
}

}  // namespace

TraceRecorder::TraceRecorder() {
  recorded.clear();
  writerBefore = ZELSysLog::SetWriter(&record);
}

TraceRecorder::~TraceRecorder() {
  ZELSysLog::SetWriter(writerBefore);
  actionOnLine = nullptr;
}

void TraceRecorder::onLine(std::function<void()> action) { actionOnLine = std::move(action); }

std::vector<std::string> TraceRecorder::lines() const {
  const std::lock_guard lock(mutex);
  return recorded;
}

std::string TraceRecorder::only() const {
  const std::vector<std::string> all = lines();
  EXPECT_EQ(all.size(), 1u);
  return all.size() == 1 ? all.front() : std::string();
}
