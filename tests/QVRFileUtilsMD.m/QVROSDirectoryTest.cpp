// One directory: its path, its space and its contents.
#include "QVROSDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <string>
#include <type_traits>
#include <vector>

#include "QVREDoesNotExist.h"
#include "QVROSDirectoryIteratorWalks.h"
#include "support/ScopedEnvironment.h"

namespace {

constexpr const char* kSource = "QVRSystem/QVRFileUtilsMD.m/src/QVROSDirectory";

std::uint64_t freeBytes(const std::string& path) { return std::filesystem::space(path).free; }

TEST(QVROSDirectoryTest, DefaultIsTheCurrentDirectory) {
  EXPECT_EQ(QVROSDirectory().getPath(), ".");
}

TEST(QVROSDirectoryTest, IsNotMadeFromAPathImplicitly) {
  EXPECT_FALSE((std::is_convertible_v<QVROSPath, QVROSDirectory>));
  EXPECT_FALSE((std::is_convertible_v<int, QVROSDirectoryIterator>));
  EXPECT_TRUE(std::has_virtual_destructor_v<QVROSDirectory>);
  EXPECT_TRUE(std::has_virtual_destructor_v<QVROSDirectoryIterator>);
}

TEST(QVROSDirectoryTest, PathFollowsSetPath) {
  QVROSDirectory directory(QVROSPath("a/b"));
  const QVROSPath& path = directory.getPath();

  directory.setPath("c/d");

  EXPECT_EQ(path.getPath(), "c\\d");
}

TEST(QVROSDirectoryTest, EqualityGoesByThePathText) {
  const QVROSDirectory directory(QVROSPath("a/b"));

  EXPECT_TRUE(directory == QVROSDirectory(directory));
  EXPECT_TRUE(directory == QVROSDirectory(QVROSPath("a\\b")));
  EXPECT_TRUE(directory != QVROSDirectory(QVROSPath("A\\b")));
  EXPECT_TRUE(directory != QVROSDirectory(QVROSPath("a\\b\\")));
  EXPECT_FALSE(directory != QVROSDirectory(directory));
}

TEST(QVROSDirectoryTest, IsEmptyWithNothingButDots) {
  const TemporaryDirectory place;

  EXPECT_TRUE(QVROSDirectory(place.path()).empty());

  place.makeFile("f");
  EXPECT_FALSE(QVROSDirectory(place.path()).empty());
}

TEST(QVROSDirectoryTest, ADirectoryWithinIsAnEntry) {
  const TemporaryDirectory place;
  place.makeDirectory("d");

  EXPECT_FALSE(QVROSDirectory(place.path()).empty());
}

TEST(QVROSDirectoryTest, WalkGoesFromBeginToEnd) {
  const TemporaryDirectory place;
  const QVROSDirectory directory(place.path());
  QVROSDirectoryIterator entry = directory.begin();
  const QVROSDirectoryIterator end = directory.end();
  EXPECT_TRUE(entry != end);

  std::vector<std::string> names;
  for (; entry != end; entry++) names.push_back((*entry).basename());

  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{".", ".."}));
}

TEST(QVROSDirectoryTest, WhatCannotBeOpenedHasNoContents) {
  const TemporaryDirectory place;
  const QVROSDirectory absent(QVROSPath(place / "absent"));
  const QVROSDirectory file(QVROSPath(place.makeFile("f")));
  const QVROSDirectory nameless(QVROSPath(""));

  for (const QVROSDirectory* directory : {&absent, &file, &nameless}) {
    expectOpenFailure([&] { directory->begin(); });
    expectOpenFailure([&] { directory->end(); });
    expectOpenFailure([&] { directory->empty(); });
  }
}

TEST(QVROSDirectoryTest, FreeSpaceIsThatOfTheVolume) {
  const TemporaryDirectory place;
  std::uint64_t before;
  std::uint64_t answer;
  std::uint64_t after;

  // Others write to the volume meanwhile: only an undisturbed answer counts.
  do {
    before = freeBytes(place.path());
    answer = QVROSDirectory(place.path()).freeSpace();
    after = freeBytes(place.path());
  } while (before != after);

  EXPECT_EQ(answer, before);
}

TEST(QVROSDirectoryTest, FreeSpaceOfWhatIsAbsentDoesNotExist) {
  const TemporaryDirectory place;

  for (const std::string& path : {place / "absent", std::string(), place.path() + '\0'}) {
    expectFailure<QVREDoesNotExist>([&] { QVROSDirectory(QVROSPath(path)).freeSpace(); },
                                    "Can not get free space of directory that does not exist",
                                    kSource);
  }
}

TEST(QVROSDirectoryTest, TheExpandedPathIsAsked) {
  const TemporaryDirectory place;
  const ScopedEnvironment home("HOME", place.path().c_str());
  place.makeFile("d/f");
  const QVROSDirectory directory(QVROSPath("%ANY%/d"));

  EXPECT_GT(directory.freeSpace(), 0u);
  EXPECT_FALSE(directory.empty());
  EXPECT_EQ((*directory.begin()).dirname(), QVROSPath(place / "d").getPath());
}

}  // namespace
