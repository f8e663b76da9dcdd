// Walks for the tests, and how they are expected to fail.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "QVREOpenFailed.h"
#include "QVROSDirectoryIterator.h"
#include "support/ExpectFailure.h"
#include "support/TemporaryDirectory.h"

constexpr auto FLAT = QVROSDirectoryIterator::FLAT;
constexpr auto RECURSIVE = QVROSDirectoryIterator::RECURSIVE;

constexpr const char* kOpenText = "Error encountered while opening first file in directory";
constexpr const char* kNothingOpenText = "No valid directory pointer";
constexpr const char* kCopyText = "Failed to copy data from one interator to another.";

template <class Action>
void expectOpenFailure(Action action, const char* text = kOpenText) {
  expectFailure<QVREOpenFailed>(action, text,
                                "QVRSystem/QVRFileUtilsMD.m/src/QVROSDirectoryIterator");
}

/// The current entry's path below the place, with forward slashes.
inline std::string below(const TemporaryDirectory& place, const QVROSDirectoryIterator& iterator) {
  const std::string path = (*iterator).getUNIXPath();
  EXPECT_EQ(path.compare(0, place.path().size() + 1, place.path() + '/'), 0) << path;
  return path.substr(place.path().size() + 1);
}

/// Advances to the entry of that name below the place.
inline void advanceTo(const TemporaryDirectory& place, QVROSDirectoryIterator& iterator,
                      const std::string& name) {
  while (below(place, iterator) != name) ASSERT_TRUE(iterator++) << name;
}

/// A recursive walk at the entry of that name below the place.
inline QVROSDirectoryIterator walkTo(const TemporaryDirectory& place, const std::string& name) {
  QVROSDirectoryIterator iterator(place.path(), RECURSIVE);
  advanceTo(place, iterator, name);
  return iterator;
}
