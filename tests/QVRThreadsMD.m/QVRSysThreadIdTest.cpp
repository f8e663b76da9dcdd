// Identifiers as values, and what the running thread answers about itself.
#include "QVRSysThreadId.h"

#include <gtest/gtest.h>

TEST(QVRSysThreadIdTest, TwoThatAreNotValidDiffer) {
  EXPECT_FALSE(QVRSysThreadId() == QVRSysThreadId());
  EXPECT_TRUE(QVRSysThreadId() != QVRSysThreadId());
}
