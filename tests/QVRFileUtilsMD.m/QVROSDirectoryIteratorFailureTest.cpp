// What a walk asks of the system, and what becomes of it when the system or the
// heap refuses.
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "QVREOpenFailed.h"
#include "QVROSDirectoryIteratorWalks.h"
#include "support/AllocationRefuser.h"
#include "support/PlatformPlan.h"

namespace {

void walk(const std::string& root) {
  QVROSDirectoryIterator iterator(root, RECURSIVE);
  while (iterator++) {
  }
}

/// How many of the directories opened within a scope are still open. Takes every
/// opening for one that succeeds.
class OpenDirectories {
 public:
  int count() const {
    return static_cast<int>(opened_.calls()) - static_cast<int>(closed_.calls());
  }

 private:
  const PlatformPlan opened_{"openDirectory", 0};
  const PlatformPlan closed_{"closeDirectory", 0};
};

// Calls of the system.

TEST(QVROSDirectoryIteratorFailureTest, PlainEntriesNeedNoStatus) {
  const TemporaryDirectory place;
  for (char directory = 'a'; directory <= 'j'; ++directory) {
    for (char file = 'a'; file <= 'j'; ++file) place.makeFile({directory, '/', file});
  }
  const PlatformPlan status("readStatus", 0);
  const PlatformPlan opened("openDirectory", 0);

  walk(place.path());

  EXPECT_EQ(status.calls(), 0u);
  EXPECT_EQ(opened.calls(), 11u);
}

TEST(QVROSDirectoryIteratorFailureTest, StatusIsAskedForLinksAndNamesThatReadOtherwise) {
  const TemporaryDirectory place;
  place.makeFile("plain");
  const std::string target = place.makeFile("target");
  const auto link = [&](const char* name) {
    std::filesystem::create_symlink(target, place / name);
  };
  const auto file = [&](const char* name) { place.makeFile(name); };
  const auto statusCalls = [&] {
    const PlatformPlan status("readStatus", 0);
    walk(place.path());
    return status.calls();
  };

  EXPECT_EQ(statusCalls(), 0u);
  link("link");
  EXPECT_EQ(statusCalls(), 1u);
  file("100%");
  EXPECT_EQ(statusCalls(), 2u);
  link("d\\f");
  file("d/f");
  EXPECT_EQ(statusCalls(), 3u);
  file("50%/f");
  EXPECT_EQ(statusCalls(), 5u);  // the directory, too
}

TEST(QVROSDirectoryIteratorFailureTest, StatusIsAskedWhereTheDirectoryTellsNoType) {
  const TemporaryDirectory place;
  place.makeFile("d/f");
  const PlatformPlan untold("entryType", 1);
  const PlatformPlan status("readStatus", 0);
  const PlatformPlan opened("openDirectory", 0);

  walk(place.path());

  EXPECT_EQ(status.calls(), 2u);  // not of the dots
  EXPECT_EQ(opened.calls(), 2u);
}

TEST(QVROSDirectoryIteratorFailureTest, EntryWithoutAStatusIsEntered) {
  const TemporaryDirectory place;
  std::filesystem::create_symlink(place.makeFile("f"), place / "link");
  const PlatformPlan status("readStatus", EACCES);

  expectOpenFailure([&] { walk(place.path()); });
}

TEST(QVROSDirectoryIteratorFailureTest, EveryDirectoryIsClosedOnce) {
  const TemporaryDirectory place;
  place.makeFile("a/b/f");
  place.makeFile("c/f");
  const OpenDirectories open;
  {
    QVROSDirectoryIterator iterator(place.path(), RECURSIVE);
    while (iterator++) {
      QVROSDirectoryIterator copy(iterator);
      QVROSDirectoryIterator assigned;
      assigned = copy;
      copy.setToEnd();
    }
    EXPECT_EQ(open.count(), 0);
    iterator = QVROSDirectoryIterator(place / "c", FLAT);
    EXPECT_EQ(open.count(), 1);
  }

  EXPECT_EQ(open.count(), 0);
}

// Failures of the system.

TEST(QVROSDirectoryIteratorFailureTest, LevelThatCannotBeOpenedIsTriedAgain) {
  const TemporaryDirectory place;
  place.makeFile("a/b/f");

  for (const std::size_t level : {1u, 2u}) {
    const std::string entry = level == 1 ? "a" : "a/b";
    QVROSDirectoryIterator iterator = walkTo(place, entry);
    {
      const PlatformPlan plan("openDirectory", EMFILE);
      expectOpenFailure([&] { iterator++; });
      expectOpenFailure([&] { iterator++; });
    }
    EXPECT_EQ(*iterator, place / entry);

    EXPECT_TRUE(iterator++);
    EXPECT_EQ((*iterator).dirname(), QVROSPath(place / entry).getPath());
  }
}

TEST(QVROSDirectoryIteratorFailureTest, RootWhoseFirstEntryCannotBeReadIsClosed) {
  const TemporaryDirectory place;
  const OpenDirectories open;
  const PlatformPlan plan("nextEntry", EIO);

  expectOpenFailure([&] { QVROSDirectoryIterator(place.path(), FLAT); });

  EXPECT_EQ(open.count(), 0);
}

TEST(QVROSDirectoryIteratorFailureTest, LevelWhoseFirstEntryCannotBeReadIsClosed) {
  const TemporaryDirectory place;
  place.makeFile("d/f");
  const OpenDirectories open;
  QVROSDirectoryIterator iterator = walkTo(place, "d");
  {
    const PlatformPlan plan("nextEntry", EIO);
    expectOpenFailure([&] { iterator++; });
  }

  EXPECT_EQ(open.count(), 1);
  EXPECT_EQ(*iterator, place / "d");
  EXPECT_TRUE(iterator++);
}

TEST(QVROSDirectoryIteratorFailureTest, DirectoryEndsWhereReadingFails) {
  const TemporaryDirectory place;
  place.makeFile("f");

  for (const auto mode : {FLAT, RECURSIVE}) {
    const OpenDirectories open;
    const PlatformPlan plan("nextEntry", EIO, 3);
    QVROSDirectoryIterator iterator(place.path(), mode);

    EXPECT_TRUE(iterator++);
    EXPECT_FALSE(iterator++);
    EXPECT_EQ(open.count(), 0);
  }
}

TEST(QVROSDirectoryIteratorFailureTest, WalkGoesOnAboveWhereReadingFails) {
  const TemporaryDirectory place;
  place.makeFile("d/f");
  const OpenDirectories open;
  QVROSDirectoryIterator iterator = walkTo(place, "d");
  iterator++;
  EXPECT_EQ(open.count(), 2);
  {
    const PlatformPlan plan("nextEntry", EIO, 1);
    iterator++;
  }

  EXPECT_LT(open.count(), 2);
  EXPECT_FALSE((*iterator).getPath().starts_with(QVROSPath(place / "d\\").getPath()));
}

TEST(QVROSDirectoryIteratorFailureTest, CopyWhoseLevelsCannotBeOpenedClosesTheOthers) {
  const TemporaryDirectory place;
  place.makeFile("a/b/f");
  QVROSDirectoryIterator source = walkTo(place, "a/b/f");

  for (const std::size_t level : {1u, 2u, 3u}) {
    QVROSDirectoryIterator target(place.path(), RECURSIVE);
    const PlatformPlan closed("closeDirectory", 0);
    {
      const PlatformPlan plan("openDirectory", EMFILE, level);
      expectOpenFailure([&] { const QVROSDirectoryIterator copy(source); });
    }
    EXPECT_EQ(closed.calls(), level - 1);
    {
      const PlatformPlan plan("openDirectory", EMFILE, level);
      expectOpenFailure([&] { target = source; });
    }
    EXPECT_EQ(closed.calls(), 2 * (level - 1) + 1);  // and what the target held
    expectOpenFailure([&] { target++; }, kNothingOpenText);
  }
}

// Refused memory.

TEST(QVROSDirectoryIteratorFailureTest, RefusedMemoryLeavesNothingOpenAfterConstruction) {
  const TemporaryDirectory place;
  const OpenDirectories open;

  EXPECT_GT(refuseEachAllocation([&] { QVROSDirectoryIterator(place.path(), FLAT); },
                                 [&] { EXPECT_EQ(open.count(), 0); }),
            0u);
}

TEST(QVROSDirectoryIteratorFailureTest, RefusedMemoryLeavesAnAdvanceAtItsEntry) {
  const TemporaryDirectory place;
  place.makeFile("d/f");
  const OpenDirectories open;
  QVROSDirectoryIterator iterator = walkTo(place, "d");

  const std::size_t refused = refuseEachAllocation([&] { iterator++; },
                                                   [&] {
                                                     EXPECT_EQ(*iterator, place / "d");
                                                     EXPECT_EQ(open.count(), 1);
                                                   });

  EXPECT_GT(refused, 0u);
  EXPECT_EQ(open.count(), 2);
}

TEST(QVROSDirectoryIteratorFailureTest, RefusedMemoryWhileFailingLeavesAnAdvanceAtItsEntry) {
  const TemporaryDirectory place;
  std::filesystem::create_symlink("absent", place / "dangling");
  QVROSDirectoryIterator iterator = walkTo(place, "dangling");

  refuseEachAllocation(
      [&] {
        try {
          iterator++;
        } catch (const QVREOpenFailed&) {
        }
      },
      [&] { EXPECT_EQ(*iterator, place / "dangling"); });

  EXPECT_EQ(*iterator, place / "dangling");
}

TEST(QVROSDirectoryIteratorFailureTest, RefusedMemoryLeavesNothingOfACopy) {
  const TemporaryDirectory place;
  place.makeFile("a/b/f");
  const OpenDirectories open;
  QVROSDirectoryIterator source = walkTo(place, "a/b/f");

  EXPECT_GT(refuseEachAllocation([&] { const QVROSDirectoryIterator copy(source); },
                                 [&] { EXPECT_EQ(open.count(), 3); }),
            0u);
}

TEST(QVROSDirectoryIteratorFailureTest, RefusedMemoryLeavesNothingOpenInATarget) {
  const TemporaryDirectory place;
  place.makeFile("a/f");
  const OpenDirectories open;
  QVROSDirectoryIterator source = walkTo(place, "a/f");
  QVROSDirectoryIterator target;

  const std::size_t refused =
      refuseEachAllocation([&] { target = source; },
                           [&] {
                             EXPECT_EQ(open.count(), 2);
                             EXPECT_EQ(*target, "");
                             expectOpenFailure([&] { target++; }, kNothingOpenText);
                           });

  EXPECT_GT(refused, 0u);
  EXPECT_TRUE(target == source);
}

TEST(QVROSDirectoryIteratorFailureTest, RefusedMemoryLeavesTheEntryReadable) {
  const TemporaryDirectory place;
  const QVROSDirectoryIterator iterator(place.path(), FLAT);
  const QVROSPath before = *iterator;

  EXPECT_GT(refuseEachAllocation([&] { *iterator; }), 0u);

  EXPECT_EQ(*iterator, before);
}

}  // namespace
