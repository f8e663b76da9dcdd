// A place for a test's files.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

/// A directory of one test's own, which goes with all that it holds when the
/// scope ends. Paths are given with forward slashes, absolute and without links.
class TemporaryDirectory {
 public:
  TemporaryDirectory() {
    std::string pattern = std::filesystem::canonical(std::filesystem::temp_directory_path());
    pattern += "/qvr-XXXXXX";
    EXPECT_NE(mkdtemp(pattern.data()), nullptr);
    path_ = pattern;
  }

  ~TemporaryDirectory() {
    std::error_code error;
    std::filesystem::remove_all(path_, error);
    EXPECT_FALSE(error) << error.message();
  }

  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  const std::string& path() const { return path_; }

  /// The path of something within.
  std::string operator/(const std::string& name) const { return path_ + '/' + name; }

  /// Makes a directory and those above it. @return its path.
  std::string makeDirectory(const std::string& name) const {
    std::filesystem::create_directories(*this / name);
    return *this / name;
  }

  /// Makes a regular file that holds `bytes`, and the directories above it.
  /// @return its path.
  std::string makeFile(const std::string& name, const std::string& bytes = "") const {
    const std::filesystem::path place = *this / name;
    std::filesystem::create_directories(place.parent_path());
    std::ofstream file(place, std::ios::binary);
    file << bytes;
    file.close();
    EXPECT_TRUE(file) << place;
    return place;
  }

 private:
  std::string path_;
};
