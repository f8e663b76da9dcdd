// Where trace lines go.
#include "ZELSysLog.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace {

std::string written;
void keep(const char* line) { written += line; }

TEST(ZELSysLogTest, DefaultWritesToStandardErrorAndAddsTheNewlineThatLacks) {
  const struct {
    const char* line;
    const char* written;
  } cases[] = {{"a line", "a line\n"}, {"a line\n", "a line\n"}, {"", "\n"}, {"\n", "\n"}};
  for (const auto& c : cases) {
    testing::internal::CaptureStderr();
    ZELSysLog::Write(c.line);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), c.written);
  }
}

TEST(ZELSysLogTest, LinesGoToTheWriterThatIsSet) {
  written.clear();
  const ZELSysLog::Writer before = ZELSysLog::SetWriter(&keep);
  ZELSysLog::Write("a line");

  EXPECT_EQ(ZELSysLog::SetWriter(before), &keep);
  EXPECT_EQ(written, "a line");
}

TEST(ZELSysLogTest, NullRestoresTheDefault) {
  const ZELSysLog::Writer standard = ZELSysLog::SetWriter(&keep);
  ZELSysLog::SetWriter(nullptr);

  EXPECT_EQ(ZELSysLog::SetWriter(&keep), standard);
  ZELSysLog::SetWriter(nullptr);
}

TEST(ZELSysLogTest, WhatAWriterThrowsComesThrough) {
  const ZELSysLog::Writer before =
      ZELSysLog::SetWriter([](const char* line) { throw std::runtime_error(line); });

  EXPECT_THROW(ZELSysLog::Write("a line"), std::runtime_error);
  ZELSysLog::SetWriter(before);
}

}  // namespace
