// Who receives reports, and what the default makes of them.
#include "QVRAssert.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace {

std::string received;

void receive(const char* category, const char* text, const char* file, int line) {
  received = std::string(category) + '|' + text + '|' + file + '|' + std::to_string(line);
}

TEST(QVRAssertTest, DefaultWritesOneLineToStandardErrorAndCarriesOn) {
  testing::internal::CaptureStderr();

  QVRReportAssert("Program error", "text", "module/source", 42);
  QVRReportAssert("Assertion", "", "", -1);

  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Program error: text, module/source(42)\nAssertion: , (-1)\n");
}

TEST(QVRAssertTest, ReportsGoToTheHandlerThatIsSet) {
  received.clear();
  const QVRAssertHandler before = QVRSetAssertHandler(&receive);
  testing::internal::CaptureStderr();

  QVRReportAssert("category", "text", "file", 7);

  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(QVRSetAssertHandler(before), &receive);
  EXPECT_EQ(received, "category|text|file|7");
}

TEST(QVRAssertTest, NullRestoresTheDefault) {
  const QVRAssertHandler standard = QVRSetAssertHandler(&receive);

  EXPECT_EQ(QVRSetAssertHandler(nullptr), &receive);
  EXPECT_EQ(QVRSetAssertHandler(&receive), standard);
  QVRSetAssertHandler(standard);
}

TEST(QVRAssertTest, WhatAHandlerThrowsComesThrough) {
  const QVRAssertHandler before = QVRSetAssertHandler(
      [](const char*, const char* text, const char*, int) { throw std::runtime_error(text); });

  EXPECT_THROW(QVRReportAssert("category", "text", "file", 7), std::runtime_error);
  QVRSetAssertHandler(before);
}

}  // namespace
