// The process's locale for the length of a test.
#pragma once

#include <gtest/gtest.h>

#include <clocale>
#include <string>

/// Switches all categories of the process's locale for a scope. Besides "C",
/// "POSIX" and "C.UTF-8" there are the locales that cmake/QVRTestLocales.cmake
/// builds. Only for tests on one thread.
class ScopedLocale {
 public:
  explicit ScopedLocale(const std::string& name) : before_(std::setlocale(LC_ALL, nullptr)) {
    EXPECT_NE(std::setlocale(LC_ALL, name.c_str()), nullptr) << "no locale " << name;
  }
  ~ScopedLocale() { std::setlocale(LC_ALL, before_.c_str()); }

  ScopedLocale(const ScopedLocale&) = delete;
  ScopedLocale& operator=(const ScopedLocale&) = delete;

 private:
  const std::string before_;
};
