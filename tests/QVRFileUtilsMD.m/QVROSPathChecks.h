// What the tests of paths look at.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "support/ExpectFailure.h"

/// Expects an exception of that class and text from QVROSPath.
template <class Exception, class Action>
void expectPathFailure(Action action, const char* text) {
  expectFailure<Exception>(action, text, "QVRSystem/QVRFileUtilsMD.m/src/QVROSPath");
}

inline std::string bytesOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file) << path;
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The descriptors of this process, one for the counting included.
inline std::ptrdiff_t openDescriptors() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}
