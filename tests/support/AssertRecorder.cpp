#include "support/AssertRecorder.h"

#include <gtest/gtest.h>

#include <mutex>
#include <ostream>

#include "QVRAssert.h"

namespace {

std::mutex mutex;
std::vector<AssertRecord> records;
QVRAssertHandler handlerBefore;

void record(const char* category, const char* text, const char* file, int line) {
  const std::lock_guard lock(mutex);
  records.push_back({category, text, file, line});
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const AssertRecord& record) {
  return out << record.category << ": " << record.text << ", " << record.file << '(' << record.line
             << ')';
}

AssertRecorder::AssertRecorder() {
  records.clear();
  handlerBefore = QVRSetAssertHandler(&record);
}

AssertRecorder::~AssertRecorder() { QVRSetAssertHandler(handlerBefore); }

std::vector<AssertRecord> AssertRecorder::all() const {
  const std::lock_guard lock(mutex);
  return records;
}

AssertRecord AssertRecorder::only() const {
  const std::vector<AssertRecord> reported = all();
  EXPECT_EQ(reported.size(), 1u);
  return reported.size() == 1 ? reported.front() : AssertRecord{};
}
