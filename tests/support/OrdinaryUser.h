// Checks that only mean something without the rights of root.
#pragma once

#include <grp.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <exception>

/// The user and group that root turns into: one that owns nothing.
constexpr unsigned kOrdinaryUser = 65534;

/// Runs `check` as an ordinary user: right here, or in a child that gave up root.
/// What fails in the child fails the test. Files that it is to reach need rights
/// for others, the temporary directory itself included.
template <class Check>
void asOrdinaryUser(Check check) {
  if (geteuid() != 0) return check();
  std::fflush(nullptr);
  const pid_t child = fork();
  ASSERT_NE(child, -1);
  if (child == 0) {
    bool passed =
        setgroups(0, nullptr) == 0 && setgid(kOrdinaryUser) == 0 && setuid(kOrdinaryUser) == 0;
    try {
      if (passed) check();
    } catch (const std::exception& error) {
      std::printf("Unexpected exception: %s\n", error.what());
      passed = false;
    }
    std::fflush(nullptr);
    _exit(passed && !testing::Test::HasFailure() ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0) << "see the checks of the child above";
}
