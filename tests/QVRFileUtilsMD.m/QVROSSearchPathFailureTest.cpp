// Search paths when memory runs out, and what they ask of the system.
#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <string>

#include "QVROSSearchPath.h"
#include "support/AllocationRefuser.h"
#include "support/PlatformPlan.h"
#include "support/TemporaryDirectory.h"

namespace {

// Too long to be kept without memory.
const std::string kLong = "a directory of a name that needs memory";

TEST(QVROSSearchPathFailureTest, NoMemoryLeavesTheListAsItWas) {
  const QVROSSearchPath before("a;b;" + kLong + ";c", ':');
  const QVROSSearchPath other("b;d;" + kLong, ',');
  const std::string list = "b;" + kLong + ";d;" + kLong + "/2";
  const struct {
    const char* name;
    std::function<void(QVROSSearchPath&)> operation;
  } cases[] = {
      {"=", [&](QVROSSearchPath& path) { path = other; }},
      {"= text", [&](QVROSSearchPath& path) { path = list; }},
      {"+=", [&](QVROSSearchPath& path) { path += other; }},
      {"+= text", [&](QVROSSearchPath& path) { path += list; }},
      {"pushFront", [&](QVROSSearchPath& path) { path.pushFront(list); }},
      {"pushBack", [&](QVROSSearchPath& path) { path.pushBack(list); }},
      {"insertPath", [&](QVROSSearchPath& path) { path.insertPath(path.begin(), list); }},
      {"removePath", [&](QVROSSearchPath& path) { path.removePath(list); }},
  };
  for (const auto& c : cases) {
    QVROSSearchPath path = before;

    const std::size_t refused = refuseEachAllocation([&] { c.operation(path); },
                                                     [&] { EXPECT_EQ(path, before) << c.name; });

    EXPECT_GT(refused, 2u) << c.name;
    EXPECT_NE(path, before) << c.name;
  }
}

TEST(QVROSSearchPathFailureTest, NoMemoryForACopyOrATextIsBadAlloc) {
  const QVROSSearchPath path("a;b;" + kLong, ';');

  EXPECT_GT(refuseEachAllocation([&] { QVROSSearchPath{path}; }), 3u);
  EXPECT_GT(refuseEachAllocation([&] { QVROSSearchPath("a;b", ';'); }), 1u);
  EXPECT_GT(refuseEachAllocation([&] { path.getPathList(); }), 0u);
}

TEST(QVROSSearchPathFailureTest, NoMemoryForALookUpLeavesTheResultAsItWas) {
  const TemporaryDirectory place;
  place.makeFile(kLong + "/f");
  const QVROSSearchPath path(place / "absent;" + (place / kLong), ';');
  const QVROSPath file = "f";
  QVROSPath result = "before";

  const std::size_t refused = refuseEachAllocation([&] { path.findFile(file, result); },
                                                   [&] { EXPECT_EQ(result, "before"); });

  EXPECT_GT(refused, 0u);
  EXPECT_EQ(result, place / kLong + "/f");
}

TEST(QVROSSearchPathFailureTest, LookUpAsksTheSystemOncePerDirectory) {
  const TemporaryDirectory place;
  place.makeFile("3/f");
  const QVROSSearchPath path(place / "1;" + (place / "2;") + (place / "3;") + (place / "4"), ';');
  const PlatformPlan calls("checkAccess", 0);
  QVROSPath result;

  EXPECT_TRUE(path.findFile("f", result));

  EXPECT_EQ(calls.calls(), 3u);
}

TEST(QVROSSearchPathFailureTest, WhatCannotBeReachedIsPassedOver) {
  const TemporaryDirectory place;
  place.makeFile("1/f");
  place.makeFile("2/f");
  const QVROSSearchPath path(place / "1;" + (place / "2"), ';');
  const PlatformPlan plan("checkAccess", EACCES, 1);
  QVROSPath result;

  EXPECT_TRUE(path.findFile("f", result));

  EXPECT_EQ(result, place / "2/f");
}

}  // namespace
