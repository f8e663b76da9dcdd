// What an operation is expected to fail with.
#pragma once

#include <gtest/gtest.h>

#include <typeinfo>

#include "QVRException.h"

constexpr int kAnyLine = 0;

/// Runs `action` and expects an exception of exactly that class, with that text,
/// from that source and line.
///
/// @code
/// expectFailure<QVREOpenFailed>([&] { iterator++; }, "No valid directory pointer", kSource);
/// @endcode
template <class Exception, class Action>
void expectFailure(Action action, const char* text, const char* source, int line = kAnyLine) {
  try {
    action();
  } catch (const QVRException& failure) {
    EXPECT_TRUE(typeid(failure) == typeid(Exception)) << typeid(failure).name();
    EXPECT_STREQ(failure.what(), text);
    EXPECT_STREQ(failure.getSrcFile(), source);
    if (line != kAnyLine) {
      EXPECT_EQ(failure.getSrcLine(), line);
    }
    return;
  }
  ADD_FAILURE() << "no failure, expected: " << text;
}
