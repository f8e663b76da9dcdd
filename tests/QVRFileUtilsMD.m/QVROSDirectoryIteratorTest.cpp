// What a walk yields, in which states it can be, and what copies of it do.
#include "QVROSDirectoryIterator.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "QVREOpenFailed.h"
#include "QVROSDirectoryIteratorWalks.h"
#include "support/CancelledThread.h"
#include "support/OrdinaryUser.h"
#include "support/ScopedEnvironment.h"
#include "support/ScopedLocale.h"

struct QVROSDirectoryIteratorTestAccess {
  static bool close(QVROSDirectoryIterator& iterator) { return iterator._closeDir(); }
  static void open(QVROSDirectoryIterator& iterator, const std::string& name) {
    iterator._openDir(name);
  }
  static std::string narrow(const std::u16string& wide) {
    std::string text = "before";
    QVROSDirectoryIterator()._convertWstringToString(text, wide);
    return text;
  }
};

namespace {

using Access = QVROSDirectoryIteratorTestAccess;
using Names = std::vector<std::string>;

/// All entries from the current one to the end, passing over what cannot be
/// entered.
Names rest(const TemporaryDirectory& place, QVROSDirectoryIterator& iterator) {
  Names names;
  for (bool more = true; more;) {
    names.push_back(below(place, iterator));
    try {
      more = iterator++;
    } catch (const QVREOpenFailed&) {
      names.back() += " (not entered)";
      more = iterator.skip();
    }
  }
  return names;
}

Names sorted(Names names) {
  std::sort(names.begin(), names.end());
  return names;
}

Names walk(const TemporaryDirectory& place, QVROSDirectoryIterator::iteratorMode mode) {
  QVROSDirectoryIterator iterator(place.path(), mode);
  return rest(place, iterator);
}

std::size_t countEnding(const Names& names, const std::string& ending) {
  const auto ends = [&](const std::string& name) { return name.ends_with(ending); };
  return static_cast<std::size_t>(std::count_if(names.begin(), names.end(), ends));
}

/// Descriptors open on directories at or below the place.
int openDirectories(const TemporaryDirectory& place) {
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code closedMeanwhile;
    const std::string target = std::filesystem::read_symlink(entry, closedMeanwhile);
    if (target.compare(0, place.path().size(), place.path()) != 0) continue;
    EXPECT_TRUE(fcntl(std::stoi(entry.path().filename()), F_GETFD) & FD_CLOEXEC) << target;
    ++count;
  }
  return count;
}

/// Makes directories named "d", each within the one before.
void makeChain(const std::string& place, int levels) {
  int directory = open(place.c_str(), O_DIRECTORY);
  for (int i = 0; i < levels; ++i) {
    ASSERT_EQ(mkdirat(directory, "d", 0700), 0);
    const int inner = openat(directory, "d", O_DIRECTORY);
    close(directory);
    directory = inner;
  }
  close(directory);
}

/// Lets the process open at least so many files within a scope, if it may.
class ScopedDescriptorLimit {
 public:
  explicit ScopedDescriptorLimit(rlim_t count) {
    EXPECT_EQ(getrlimit(RLIMIT_NOFILE, &before_), 0);
    rlimit raised = before_;
    raised.rlim_cur = std::max(raised.rlim_cur, count);
    isRaised_ = setrlimit(RLIMIT_NOFILE, &raised) == 0;
  }
  ~ScopedDescriptorLimit() { setrlimit(RLIMIT_NOFILE, &before_); }

  ScopedDescriptorLimit(const ScopedDescriptorLimit&) = delete;
  ScopedDescriptorLimit& operator=(const ScopedDescriptorLimit&) = delete;

  bool isRaised() const { return isRaised_; }

 private:
  rlimit before_;
  bool isRaised_;
};

// Walks.

TEST(QVROSDirectoryIteratorTest, FlatWalkYieldsDotsHiddenEntriesAndDirectories) {
  const TemporaryDirectory place;
  place.makeFile("f");
  place.makeFile(".hidden");
  place.makeFile("d/inner");

  EXPECT_EQ(sorted(walk(place, FLAT)), (Names{".", "..", ".hidden", "d", "f"}));
}

TEST(QVROSDirectoryIteratorTest, RecursiveWalkEntersDirectoriesButNotDots) {
  const TemporaryDirectory place;
  place.makeFile("b/f");

  EXPECT_EQ(sorted(walk(place, RECURSIVE)), (Names{".", "..", "b", "b/.", "b/..", "b/f"}));
}

TEST(QVROSDirectoryIteratorTest, CancelledThreadFinishesItsWalk) {
  const TemporaryDirectory place;
  place.makeFile("b/f");
  Names names;

  EXPECT_TRUE(finishesThoughCancelled([&] { names = sorted(walk(place, RECURSIVE)); }));

  EXPECT_EQ(names, (Names{".", "..", "b", "b/.", "b/..", "b/f"}));
}

TEST(QVROSDirectoryIteratorTest, AnyModeButRecursiveIsFlat) {
  const TemporaryDirectory place;
  place.makeFile("b/f");

  for (const int mode : {2, -1, 1000}) {
    const auto cast = static_cast<QVROSDirectoryIterator::iteratorMode>(mode);
    EXPECT_EQ(sorted(walk(place, cast)), (Names{".", "..", "b"})) << mode;
  }
}

TEST(QVROSDirectoryIteratorTest, DirectoryComesDirectlyBeforeItsContents) {
  const TemporaryDirectory place;
  for (const char* name : {"a/1", "a/2", "b/c/1", "b/2", "z"}) place.makeFile(name);

  const Names names = walk(place, RECURSIVE);

  for (const std::string directory : {"a", "b", "b/c"}) {
    const auto isWithin = [&](const std::string& name) {
      return name.starts_with(directory + '/');
    };
    const auto first = std::find(names.begin(), names.end(), directory) + 1;
    const auto behind = std::find_if_not(first, names.end(), isWithin);
    EXPECT_EQ(behind - first, std::count_if(names.begin(), names.end(), isWithin)) << directory;
  }
}

TEST(QVROSDirectoryIteratorTest, OrderIsThatOfTheSystem) {
  const TemporaryDirectory place;
  for (int i = 0; i < 2000; ++i) place.makeFile("file with a long name " + std::to_string(i));
  Names expected;
  for (const auto& entry : std::filesystem::directory_iterator(place.path())) {
    expected.push_back(entry.path().filename());
  }

  Names names = walk(place, FLAT);

  std::erase(names, ".");
  std::erase(names, "..");
  EXPECT_EQ(names, expected);
}

TEST(QVROSDirectoryIteratorTest, RootKeepsTheTextThatWasGiven) {
  const TemporaryDirectory place;
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(place.path());
  const std::pair<const char*, const char*> cases[] = {
      {".", ".\\"}, {"./", ".\\"}, {".//", ".\\\\"}, {"../", "..\\"}};

  for (const auto& [root, prefix] : cases) {
    const QVROSDirectoryIterator iterator(QVROSPath(root), FLAT);
    const std::string path = (*iterator).getPath();
    EXPECT_EQ(path, prefix + QVROSPath(path).basename()) << root;
  }
  std::filesystem::current_path(before);
}

TEST(QVROSDirectoryIteratorTest, NamesKeepTheirBytesInEveryLocale) {
  const TemporaryDirectory place;
  const Names expected{".", "..", "a\nb", "d\xe9", "d\xe9/f\x80", "\xc3\xa9", "\xff\xfe bytes"};
  for (const std::size_t file : {2u, 4u, 5u, 6u}) place.makeFile(expected[file]);

  for (const char* locale : {"C", "C.UTF-8"}) {
    const ScopedLocale scope(locale);
    Names names = sorted(walk(place, RECURSIVE));
    std::erase_if(names, [](const std::string& name) { return name.starts_with("d\xe9/."); });
    EXPECT_EQ(names, expected) << locale;
  }
}

TEST(QVROSDirectoryIteratorTest, LinksAreFollowed) {
  const TemporaryDirectory place;
  const TemporaryDirectory elsewhere;
  elsewhere.makeFile("f");
  std::filesystem::create_symlink(elsewhere.path(), place / "toDirectory");
  std::filesystem::create_symlink(elsewhere / "f", place / "toFile");

  EXPECT_EQ(sorted(walk(place, RECURSIVE)), (Names{".", "..", "toDirectory", "toDirectory/.",
                                                   "toDirectory/..", "toDirectory/f", "toFile"}));
}

TEST(QVROSDirectoryIteratorTest, CycleOfLinksEndsWhereTheSystemFollowsNoMore) {
  const TemporaryDirectory place;
  std::filesystem::create_symlink(".", place / "again");
  QVROSDirectoryIterator iterator(place.path(), RECURSIVE);

  const Names names = rest(place, iterator);

  EXPECT_EQ(countEnding(names, "again"), 40u);
  EXPECT_EQ(countEnding(names, "again (not entered)"), 1u);
}

TEST(QVROSDirectoryIteratorTest, TreeDeeperThanAPathTextIsEnteredAsFarAsThatFits) {
  constexpr int kLevels = 2100;
  const ScopedDescriptorLimit limit(kLevels + 100);
  if (!limit.isRaised()) GTEST_SKIP() << "the process may not open enough directories";
  const TemporaryDirectory place;
  makeChain(place.path(), kLevels);
  QVROSDirectoryIterator iterator(place.path(), RECURSIVE);

  const Names names = rest(place, iterator);

  // Texts of up to 4095 bytes can be opened; each level adds two.
  const auto fitting = (4095 - place.path().size()) / 2;
  EXPECT_EQ(names.size(), 2 + 3 * fitting + 1);
  EXPECT_EQ(countEnding(names, "d"), fitting);
  EXPECT_EQ(countEnding(names, "d (not entered)"), 1u);
}

// Names that a path reads otherwise.

TEST(QVROSDirectoryIteratorTest, PairOfPercentSignsNamesSomethingBelowHome) {
  const TemporaryDirectory place;
  const ScopedEnvironment home("HOME", "inner");
  place.makeDirectory("%x%");
  place.makeFile("inner/f");

  const Names names = sorted(walk(place, RECURSIVE));

  EXPECT_EQ(names, (Names{"%x%", "%x%/.", "%x%/..", "%x%/f", ".", "..", "inner", "inner/.",
                          "inner/..", "inner/f"}));
}

TEST(QVROSDirectoryIteratorTest, FileWithAPairOfPercentSignsIsEnteredWhereItNamesADirectory) {
  const TemporaryDirectory place;
  const ScopedEnvironment home("HOME", "inner");
  place.makeFile("%x%");
  place.makeDirectory("inner");

  EXPECT_EQ(sorted(walk(place, RECURSIVE)),
            (Names{"%x%", "%x%/.", "%x%/..", ".", "..", "inner", "inner/.", "inner/.."}));
}

TEST(QVROSDirectoryIteratorTest, LonePercentSignIsAnOrdinaryByte) {
  const TemporaryDirectory place;
  place.makeFile("100%");
  place.makeFile("50%/%f");

  EXPECT_EQ(sorted(walk(place, RECURSIVE)),
            (Names{".", "..", "100%", "50%", "50%/%f", "50%/.", "50%/.."}));
}

TEST(QVROSDirectoryIteratorTest, BackslashInANameSeparatesWhatThePathNames) {
  const TemporaryDirectory place;
  place.makeFile("d\\f");  // a file of that name
  place.makeFile("d/f/inner");
  place.makeDirectory("e\\..");
  place.makeDirectory("lost\\d");

  EXPECT_EQ(sorted(walk(place, RECURSIVE)),
            (Names{".", "..", "d", "d/.", "d/..", "d/f", "d/f", "d/f/.", "d/f/.", "d/f/..",
                   "d/f/..", "d/f/inner", "d/f/inner", "e/..", "lost/d (not entered)"}));
}

// States.

TEST(QVROSDirectoryIteratorTest, NotInitialisedReadsEmptyAndCannotAdvance) {
  QVROSDirectoryIterator iterators[] = {QVROSDirectoryIterator(), QVROSDirectoryIterator(FLAT),
                                        QVROSDirectoryIterator(RECURSIVE)};
  const char* const texts[] = {"Trying to advance uninitialized iterator",
                               "Trying to advance uninitialized iterator",
                               "Trying to advance uninitalized iterator"};

  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(*iterators[i], "");
    EXPECT_EQ(iterators[i].getCurrentFile(), "");
    EXPECT_FALSE(iterators[i].setToEnd());
    expectOpenFailure([&] { iterators[i]++; }, texts[i]);
    expectOpenFailure([&] { iterators[i].skip(); }, texts[i]);
    EXPECT_FALSE(Access::close(iterators[i]));
  }
}

TEST(QVROSDirectoryIteratorTest, AtTheEndNothingIsOpenAndNothingChanges) {
  const TemporaryDirectory place;
  place.makeFile("d/f");

  for (const auto mode : {FLAT, RECURSIVE}) {
    QVROSDirectoryIterator iterator(place.path(), mode);
    EXPECT_EQ(openDirectories(place), 1);
    while (iterator++) {
    }

    EXPECT_EQ(openDirectories(place), 0);
    EXPECT_EQ(*iterator, "");
    EXPECT_FALSE(iterator++);
    EXPECT_FALSE(iterator.skip());
    EXPECT_TRUE(iterator.setToEnd());
  }
}

TEST(QVROSDirectoryIteratorTest, EachLevelHoldsOneDirectory) {
  const TemporaryDirectory place;
  place.makeFile("a/b/f");
  QVROSDirectoryIterator iterator = walkTo(place, "a/b/f");
  EXPECT_EQ(openDirectories(place), 3);

  EXPECT_TRUE(iterator.setToEnd());
  EXPECT_EQ(openDirectories(place), 0);
  EXPECT_FALSE(iterator++);
}

TEST(QVROSDirectoryIteratorTest, ClosesItsDirectoriesWhenDestroyed) {
  const TemporaryDirectory place;
  place.makeFile("a/b/f");
  { QVROSDirectoryIterator iterator = walkTo(place, "a/b/f"); }

  EXPECT_EQ(openDirectories(place), 0);
}

TEST(QVROSDirectoryIteratorTest, LevelsOpenAndCloseOneByOne) {
  const TemporaryDirectory place;
  const std::string directory = place.makeDirectory("d");
  QVROSDirectoryIterator iterator(place.path(), FLAT);
  advanceTo(place, iterator, "d");

  Access::open(iterator, directory);
  EXPECT_EQ((*iterator).dirname(), QVROSPath(directory).getPath());
  EXPECT_TRUE(Access::close(iterator));
  EXPECT_EQ(*iterator, directory);
  EXPECT_FALSE(Access::close(iterator));
  EXPECT_FALSE(Access::close(iterator));
  EXPECT_EQ(*iterator, "");
  expectOpenFailure([&] { iterator++; }, kNothingOpenText);
}

TEST(QVROSDirectoryIteratorTest, RootThatCannotBeOpenedThrows) {
  const TemporaryDirectory place;
  const std::string file = place.makeFile("f");

  for (const auto mode : {FLAT, RECURSIVE}) {
    for (const std::string& root :
         {place / "absent", file, std::string(), place.path() + '\0', place.path() + "/%a"}) {
      expectOpenFailure([&] { QVROSDirectoryIterator(QVROSPath(root), mode); });
    }
  }
  EXPECT_EQ(openDirectories(place), 0);
}

TEST(QVROSDirectoryIteratorTest, DirectoryThatIsGoneHasNoFirstEntry) {
  const TemporaryDirectory place;
  const int gone = open(place.makeDirectory("d").c_str(), O_DIRECTORY);
  std::filesystem::remove(place / "d");

  expectOpenFailure(
      [&] { QVROSDirectoryIterator(QVROSPath("/proc/self/fd/" + std::to_string(gone)), FLAT); },
      kOpenText);
  close(gone);
}

// Entries that cannot be entered, and skip().

TEST(QVROSDirectoryIteratorTest, FailedAdvanceStaysAtItsEntry) {
  const TemporaryDirectory place;
  std::filesystem::create_symlink("absent", place / "dangling");
  std::filesystem::create_symlink("loop", place / "loop");
  ASSERT_EQ(mkfifo((place / "fifo").c_str(), 0600), 0);

  for (const char* name : {"dangling", "loop", "fifo"}) {
    QVROSDirectoryIterator iterator(place.path(), RECURSIVE);
    while (below(place, iterator) != name) ASSERT_TRUE(iterator.skip());

    expectOpenFailure([&] { iterator++; });
    expectOpenFailure([&] { iterator++; });

    EXPECT_EQ(below(place, iterator), name);
    EXPECT_EQ(openDirectories(place), 1);
    const QVROSDirectoryIterator copy(iterator);
    EXPECT_TRUE(copy == iterator);
  }
  EXPECT_EQ(sorted(walk(place, RECURSIVE)), (Names{".", "..", "dangling (not entered)",
                                                   "fifo (not entered)", "loop (not entered)"}));
}

TEST(QVROSDirectoryIteratorTest, DirectoryWithoutPermissionIsNotEntered) {
  const TemporaryDirectory place;
  std::filesystem::permissions(place.path(), std::filesystem::perms(0755));
  place.makeFile("closed/f");
  place.makeFile("listed/f");  // its entries are seen and cannot be reached
  place.makeFile("listed/d/f");
  std::filesystem::permissions(place / "closed", std::filesystem::perms(0));
  std::filesystem::permissions(place / "listed", std::filesystem::perms(0444));

  asOrdinaryUser([&] {
    EXPECT_EQ(sorted(walk(place, RECURSIVE)),
              (Names{".", "..", "closed (not entered)", "listed", "listed/.", "listed/..",
                     "listed/d (not entered)", "listed/f"}));
  });

  for (const char* name : {"closed", "listed"}) {
    std::filesystem::permissions(place / name, std::filesystem::perms(0700));
  }
}

TEST(QVROSDirectoryIteratorTest, FailedAdvanceSucceedsOnceTheEntryCanBeEntered) {
  const TemporaryDirectory place;
  std::filesystem::create_symlink("../absent", place.makeDirectory("d") + "/link");
  QVROSDirectoryIterator iterator(place / "d", RECURSIVE);
  while (below(place, iterator) != "d/link") ASSERT_TRUE(iterator++);
  expectOpenFailure([&] { iterator++; });

  place.makeDirectory("absent");

  EXPECT_TRUE(iterator++);
  EXPECT_EQ((*iterator).dirname(), QVROSPath(place / "d/link").getPath());
}

TEST(QVROSDirectoryIteratorTest, SkipPassesADirectoryWithoutEnteringIt) {
  const TemporaryDirectory place;
  place.makeFile("a/b/f");
  QVROSDirectoryIterator iterator(place.path(), RECURSIVE);
  Names names{below(place, iterator)};

  while (iterator.skip()) names.push_back(below(place, iterator));

  EXPECT_EQ(sorted(names), (Names{".", "..", "a"}));
  EXPECT_EQ(openDirectories(place), 0);
}

TEST(QVROSDirectoryIteratorTest, SkipGoesOnAboveBehindTheLastEntryOfALevel) {
  const TemporaryDirectory place;
  place.makeDirectory("a/only");
  place.makeFile("z");
  QVROSDirectoryIterator iterator(place.path(), RECURSIVE);
  Names names{below(place, iterator)};

  while (names.back() == "a/only" ? iterator.skip() : iterator++) {
    names.push_back(below(place, iterator));
  }

  EXPECT_EQ(sorted(names), (Names{".", "..", "a", "a/.", "a/..", "a/only", "z"}));
}

TEST(QVROSDirectoryIteratorTest, SkipOfAFlatWalkAdvances) {
  const TemporaryDirectory place;
  place.makeFile("f");
  QVROSDirectoryIterator skipped(place.path(), FLAT);
  QVROSDirectoryIterator advanced(place.path(), FLAT);

  for (bool more = true; more;) {
    EXPECT_TRUE(skipped == advanced);
    more = advanced++;
    EXPECT_EQ(skipped.skip(), more);
  }
  EXPECT_TRUE(skipped == advanced);
}

// Equality.

TEST(QVROSDirectoryIteratorTest, EqualityFollowsInitialisationRootEndAndEntry) {
  const TemporaryDirectory place;
  const std::string directory = place.makeDirectory("d");
  const QVROSDirectoryIterator none;
  const QVROSDirectoryIterator first(place.path(), FLAT);
  QVROSDirectoryIterator second(place.path(), RECURSIVE);
  second++;
  QVROSDirectoryIterator end(place.path(), FLAT);
  end.setToEnd();
  QVROSDirectoryIterator endOfOther(directory, FLAT);
  endOfOther.setToEnd();
  const QVROSDirectoryIterator otherText(place.path() + '/', FLAT);

  const struct {
    const QVROSDirectoryIterator& left;
    const QVROSDirectoryIterator& right;
    bool equal;
  } cases[] = {
      {none, QVROSDirectoryIterator(RECURSIVE), true},
      {none, first, false},
      {none, end, false},
      {first, QVROSDirectoryIterator(place.path(), RECURSIVE), true},
      {first, second, false},
      {first, end, false},
      {end, QVROSDirectoryIterator(end), true},
      {end, endOfOther, false},
      {first, otherText, false},
  };
  for (int row = 0; const auto& [left, right, equal] : cases) {
    EXPECT_EQ(left == right, equal) << row;
    EXPECT_EQ(right == left, equal) << row;
    EXPECT_EQ(left != right, !equal) << row;
    ++row;
  }
}

TEST(QVROSDirectoryIteratorTest, ExhaustedWalksOfOneRootAreEqual) {
  const TemporaryDirectory place;
  place.makeFile("d/f");
  QVROSDirectoryIterator flat(place.path(), FLAT);
  QVROSDirectoryIterator recursive(place.path(), RECURSIVE);
  while (flat++) {
  }
  while (recursive++) {
  }

  EXPECT_TRUE(flat == recursive);
}

// Copying and assigning.

TEST(QVROSDirectoryIteratorTest, CopyGoesOnFromTheSameEntryByItself) {
  const TemporaryDirectory place;
  for (const char* name : {"a/1", "a/b/2", "a/b/3", "c/4", "5"}) place.makeFile(name);
  const Names all = walk(place, RECURSIVE);

  QVROSDirectoryIterator iterator(place.path(), RECURSIVE);
  for (std::size_t i = 0; i < all.size(); ++i) {
    QVROSDirectoryIterator copy(iterator);
    EXPECT_TRUE(copy == iterator);
    EXPECT_EQ(rest(place, copy), Names(all.begin() + static_cast<std::ptrdiff_t>(i), all.end()));
    EXPECT_EQ(below(place, iterator), all[i]);
    EXPECT_EQ(iterator++, i + 1 < all.size());
  }
}

TEST(QVROSDirectoryIteratorTest, CopyTakesOverTheStatesWithoutAnEntry) {
  const TemporaryDirectory place;
  QVROSDirectoryIterator end(place.path(), FLAT);
  end.setToEnd();

  QVROSDirectoryIterator endCopy(end);
  QVROSDirectoryIterator noneCopy{QVROSDirectoryIterator(RECURSIVE)};

  EXPECT_FALSE(endCopy++);
  expectOpenFailure([&] { noneCopy++; }, "Trying to advance uninitalized iterator");
}

TEST(QVROSDirectoryIteratorTest, CopyWalksBelowNamesThatExpand) {
  const TemporaryDirectory place;
  const ScopedEnvironment home("HOME", "inner");
  place.makeDirectory("%x%");
  place.makeFile("inner/f");
  QVROSDirectoryIterator iterator = walkTo(place, "%x%/f");

  EXPECT_TRUE(QVROSDirectoryIterator(iterator) == iterator);
}

TEST(QVROSDirectoryIteratorTest, CopyWalksBelowNamesWithABackslash) {
  const TemporaryDirectory place;
  place.makeFile("d\\e");
  place.makeFile("d/e/f");
  QVROSDirectoryIterator iterator = walkTo(place, "d/e/f");
  advanceTo(place, iterator, "d/e");
  advanceTo(place, iterator, "d/e/f");

  EXPECT_TRUE(QVROSDirectoryIterator(iterator) == iterator);
}

TEST(QVROSDirectoryIteratorTest, CopyFailsOnceTheEntryHasVanished) {
  const TemporaryDirectory place;
  place.makeFile("d/f");
  QVROSDirectoryIterator iterator = walkTo(place, "d/f");

  std::filesystem::remove(place / "d/f");
  expectOpenFailure([&] { const QVROSDirectoryIterator copy(iterator); }, kCopyText);
  std::filesystem::remove(place / "d");
  expectOpenFailure([&] { const QVROSDirectoryIterator copy(iterator); }, kCopyText);
  EXPECT_EQ(openDirectories(place), 2);  // the iterator's own

  place.makeFile("d");
  expectOpenFailure([&] { const QVROSDirectoryIterator copy(iterator); });
}

TEST(QVROSDirectoryIteratorTest, AssignmentKeepsTheModeOfTheTarget) {
  const TemporaryDirectory place;
  place.makeFile("a/b/f");
  QVROSDirectoryIterator source = walkTo(place, "a");
  QVROSDirectoryIterator flat;
  QVROSDirectoryIterator recursive(RECURSIVE);

  EXPECT_EQ(&(flat = source), &flat);
  recursive = flat;

  Names flatNames = rest(place, flat);
  EXPECT_EQ(std::count(flatNames.begin(), flatNames.end(), "a/b"), 0);
  EXPECT_EQ(rest(place, recursive), rest(place, source));
}

TEST(QVROSDirectoryIteratorTest, FlatTargetOfADeepSourceEndsWithItsDirectory) {
  const TemporaryDirectory place;
  place.makeFile("a/f");
  place.makeFile("z");
  QVROSDirectoryIterator source = walkTo(place, "a/f");
  QVROSDirectoryIterator flat;
  flat = source;
  source.setToEnd();

  while (flat++) EXPECT_EQ(below(place, flat).substr(0, 2), "a/");

  EXPECT_EQ(openDirectories(place), 0);
}

TEST(QVROSDirectoryIteratorTest, AssignmentClosesWhatTheTargetHeld) {
  const TemporaryDirectory place;
  place.makeFile("a/b/f");
  QVROSDirectoryIterator end(place.path(), RECURSIVE);
  end.setToEnd();
  const QVROSDirectoryIterator none;

  QVROSDirectoryIterator target = walkTo(place, "a/b/f");
  target = end;
  EXPECT_EQ(openDirectories(place), 0);
  EXPECT_FALSE(target++);

  target = QVROSDirectoryIterator(place.path(), FLAT);
  EXPECT_EQ(openDirectories(place), 1);
  target = none;
  EXPECT_EQ(openDirectories(place), 0);
  expectOpenFailure([&] { target++; }, "Trying to advance uninitalized iterator");
}

TEST(QVROSDirectoryIteratorTest, AssignmentOfAnEqualOneChangesNothing) {
  const TemporaryDirectory place;
  place.makeFile("f");
  QVROSDirectoryIterator target(place.path(), FLAT);
  const QVROSDirectoryIterator source(target);
  std::filesystem::rename(place.path(), place.path() + "-away");

  EXPECT_NO_THROW(target = source);  // which would have to open the directory
  const QVROSDirectoryIterator& self = target;
  EXPECT_NO_THROW(target = self);

  std::filesystem::rename(place.path() + "-away", place.path());
  EXPECT_TRUE(target++);
}

TEST(QVROSDirectoryIteratorTest, FailedAssignmentLeavesNothingOpen) {
  const TemporaryDirectory place;
  place.makeFile("d/f");
  QVROSDirectoryIterator source = walkTo(place, "d/f");
  std::filesystem::remove(place / "d/f");

  for (const auto mode : {FLAT, RECURSIVE}) {
    QVROSDirectoryIterator target(place.path(), mode);
    expectOpenFailure([&] { target = source; }, kCopyText);

    EXPECT_EQ(openDirectories(place), 2);  // the source's
    EXPECT_EQ(*target, "");
    expectOpenFailure([&] { target++; }, kNothingOpenText);
    expectOpenFailure([&] { target.skip(); }, kNothingOpenText);
    QVROSDirectoryIterator copy(target);
    expectOpenFailure([&] { copy++; }, kNothingOpenText);
    EXPECT_TRUE(target.setToEnd());
    EXPECT_FALSE(target++);
  }
}

// Narrow text of wide names.

TEST(QVROSDirectoryIteratorTest, NarrowTextHasAsManyBytesAsTheWideHadUnits) {
  using namespace std::string_literals;
  const struct {
    const char* locale;
    std::u16string wide;
    std::string narrow;
  } cases[] = {
      {"C", u"", ""},
      {"C", u"name.txt", "name.txt"},
      {"C.UTF-8", u"name.txt", "name.txt"},
      {"de_DE.ISO-8859-1", u"\u00e9a",
       "\xe9"
       "a"},
      {"C.UTF-8", u"\u00e9a", "\u00e9"},
      {"C.UTF-8", u"a\u00e9\u20ac", "a\u00e9"},
      {"C.UTF-8", u"\u20ac", "\0"s},
      {"C.UTF-8", u"abc\U0001F600", "abc\0\0"s},
      {"C.UTF-8", u"ab\xD800", "ab\0"s},
      {"C.UTF-8", u"a\0b"s, "a\0\0"s},
      {"C", u"a\u20acb", "a\0\0"s},
      {"C", std::u16string(3000, u'x'), std::string(3000, 'x')},
  };
  for (const auto& [locale, wide, narrow] : cases) {
    const ScopedLocale scope(locale);
    EXPECT_EQ(Access::narrow(wide), narrow) << locale << ": " << narrow;
  }
}

}  // namespace
