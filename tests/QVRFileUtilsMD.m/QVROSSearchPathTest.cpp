// Lists of directories, and what is found in them.
#include "QVROSSearchPath.h"

#include <gtest/gtest.h>

#include <iterator>
#include <string>
#include <type_traits>
#include <vector>

#include "support/ScopedEnvironment.h"
#include "support/TemporaryDirectory.h"

struct QVROSSearchPathTestAccess {
  static std::list<QVROSPath> convertPath(const std::string& list) {
    return QVROSSearchPath::_convertPath(list);
  }
  static void pushFront(QVROSSearchPath& path, const std::list<QVROSPath>& paths) {
    path._pushFront(paths);
  }
  static void pushBack(QVROSSearchPath& path, const std::list<QVROSPath>& paths) {
    path._pushBack(paths);
  }
};

namespace {

QVROSSearchPath made(const std::string& list) { return QVROSSearchPath(list, ';'); }

/// The entry of that number; end() behind the last.
QVROSSearchPath::iterator at(QVROSSearchPath& path, std::ptrdiff_t number) {
  return std::next(path.begin(), number);
}

TEST(QVROSSearchPathTest, IsEmptyAtFirst) {
  const QVROSSearchPath path;

  EXPECT_EQ(path.begin(), path.end());
  EXPECT_EQ(path.getPathList(), "");
  EXPECT_EQ(path, made(""));
}

TEST(QVROSSearchPathTest, ListsAreSplitAtSemicolons) {
  const struct {
    const char* list;
    std::vector<std::string> entries;
  } cases[] = {
      {"", {}},
      {";", {}},
      {";;;", {}},
      {"a", {"a"}},
      {"a;", {"a"}},
      {";a;;b;", {"a", "b"}},
      {"x/y", {"x\\y"}},
      {" a ; ;b", {" a ", " ", "b"}},
      {"%HOME%\\bin;a:b,c", {"%HOME%\\bin", "a:b,c"}},
      {"a;b;a;A;a\\", {"a", "b", "a", "A", "a\\"}},
  };
  for (const auto& c : cases) {
    const QVROSSearchPath path = made(c.list);
    std::vector<std::string> entries;
    for (const QVROSPath& entry : path) entries.push_back(entry.getPath());
    EXPECT_EQ(entries, c.entries) << c.list;

    const auto converted = QVROSSearchPathTestAccess::convertPath(c.list);
    EXPECT_TRUE(std::equal(converted.begin(), converted.end(), path.begin(), path.end())) << c.list;
  }
  EXPECT_EQ(made(std::string("a\0b;c", 5)).begin()->getPath(), std::string("a\0b", 3));
}

TEST(QVROSSearchPathTest, ListIsWrittenWithTheDelimiterBehindEachEntry) {
  QVROSSearchPath path(";a;;x/y;", ':');
  EXPECT_EQ(path.getPathList(), "a:x\\y:");

  path.setDelimiter(0xFF);
  EXPECT_EQ(path.getPathList(), "a\xFFx\\y\xFF");

  path.setDelimiter(';');
  EXPECT_EQ(path.getPathList(), "a;x\\y;");
  EXPECT_EQ(made(path.getPathList()), path);
}

TEST(QVROSSearchPathTest, DelimiterDoesNotSplit) {
  QVROSSearchPath path("a:b;c", ':');

  path.pushBack("d:e");

  EXPECT_EQ(path.begin()->getPath(), "a:b");
  EXPECT_EQ(path.getPathList(), "a:b:c:d:e:");
}

TEST(QVROSSearchPathTest, OrderOfEachWayOfAdding) {
  const struct {
    const char* before;
    const char* added;
    const char* pushedBack;
    const char* pushedFront;
  } cases[] = {
      {"", "", "", ""},
      {"", "a;b", "a;b;", "a;b;"},
      {"a;b", "", "a;b;", "a;b;"},
      {"a;b", "c;d", "a;b;c;d;", "c;d;a;b;"},
      {"a;b", "b;c", "a;b;c;", "b;c;a;"},
      {"a;b", "c;a", "b;c;a;", "c;a;b;"},
      {"a;b", "a", "b;a;", "a;b;"},
      {"a;b", "b", "a;b;", "b;a;"},
      {"a;b;c", "c;b;a", "c;b;a;", "c;b;a;"},
      // Of those that are equal within the added text, the last or the first stays.
      {"a;b", "c;d;c", "a;b;d;c;", "c;d;a;b;"},
      {"a;b", "a;c;a", "b;c;a;", "a;c;b;"},
      // What came in twice leaves altogether.
      {"a;b;a;c", "a", "b;c;a;", "a;b;c;"},
      {"a;b", "A;x/y;x\\y", "a;b;A;x\\y;", "A;x\\y;a;b;"},
  };
  for (const auto& c : cases) {
    QVROSSearchPath back = made(c.before);
    back.pushBack(c.added);
    EXPECT_EQ(back.getPathList(), c.pushedBack) << c.before << " + " << c.added;

    QVROSSearchPath front = made(c.before);
    front.pushFront(c.added);
    EXPECT_EQ(front.getPathList(), c.pushedFront) << c.added << " + " << c.before;

    QVROSSearchPath text = made(c.before);
    EXPECT_EQ(&(text += c.added), &text);
    EXPECT_EQ(text, back);

    QVROSSearchPath other = made(c.before);
    EXPECT_EQ(&(other += QVROSSearchPath(c.added, ':')), &other);
    EXPECT_EQ(other, back);
  }
}

TEST(QVROSSearchPathTest, AddsListsOfPathsAsTheirTexts) {
  QVROSSearchPath path = made("a;b");

  QVROSSearchPathTestAccess::pushBack(path, {"c", "a"});
  EXPECT_EQ(path.getPathList(), "b;c;a;");

  QVROSSearchPathTestAccess::pushFront(path, {"a", "d"});
  EXPECT_EQ(path.getPathList(), "a;d;b;c;");
}

TEST(QVROSSearchPathTest, AddedToItselfItStaysAsItIs) {
  QVROSSearchPath path = made("a;b;c");
  path += path;
  EXPECT_EQ(path.getPathList(), "a;b;c;");

  QVROSSearchPath doubled = made("a;b;a");
  doubled += doubled;
  EXPECT_EQ(doubled.getPathList(), "b;a;");
}

TEST(QVROSSearchPathTest, InsertionBeforeAnEntry) {
  const struct {
    const char* before;
    int position;
    const char* added;
    const char* after;
  } cases[] = {
      {"", 0, "a;b", "a;b;"},
      {"a;b", 0, "c;d", "c;d;a;b;"},
      {"a;b", 1, "c;d", "a;c;d;b;"},
      {"a;b", 2, "c;d", "a;b;c;d;"},
      {"a;b", 1, "", "a;b;"},
      // One that is there already moves.
      {"a;b;c", 1, "c", "a;c;b;"},
      {"a;b;c", 2, "a", "b;a;c;"},
      {"a;b;c", 3, "b;a", "c;b;a;"},
      // Those equal within the inserted text stay.
      {"a;b", 1, "c;d;c", "a;c;d;c;b;"},
      // Before one that is inserted itself: in its place.
      {"a;b;c", 0, "a", "a;b;c;"},
      {"a;b;c", 1, "b", "a;b;c;"},
      {"a;b;c", 2, "c", "a;b;c;"},
      {"a;b;c", 1, "x;b;y", "a;x;b;y;c;"},
      {"a;b;c;d", 1, "c;b", "a;c;b;d;"},
      {"a;b;c;d", 1, "d;b;c", "a;d;b;c;"},
      {"a;b;c", 1, "b;c;a", "b;c;a;"},
      {"a;b;a;c", 2, "a", "b;a;c;"},
  };
  for (const auto& c : cases) {
    QVROSSearchPath path = made(c.before);
    path.insertPath(at(path, c.position), c.added);
    EXPECT_EQ(path.getPathList(), c.after) << c.before << ' ' << c.position << ' ' << c.added;
  }
}

TEST(QVROSSearchPathTest, Removal) {
  const struct {
    const char* before;
    const char* removed;
    const char* after;
  } cases[] = {
      {"a;b", "", "a;b;"},     {"a;b", "a", "b;"},         {"a;b", "b;a", ""},
      {"a;b", "c;b;d", "a;"},  {"a;b;a;a", "a", "b;a;a;"}, {"a;b;a;a", "a;a", "b;a;"},
      {"x\\y;b", "x/y", "b;"}, {"a;b", "A", "a;b;"},
  };
  for (const auto& c : cases) {
    QVROSSearchPath path = made(c.before);
    path.removePath(c.removed);
    EXPECT_EQ(path.getPathList(), c.after) << c.before << " - " << c.removed;
  }
}

TEST(QVROSSearchPathTest, RemovalOfOneEntryLeavesTheOthersWhereTheyAre) {
  QVROSSearchPath path = made("a;b;a");
  const QVROSSearchPath::iterator first = path.begin();
  const QVROSSearchPath::iterator last = at(path, 2);

  path.removePath(at(path, 1));
  EXPECT_EQ(path.getPathList(), "a;a;");
  path.removePath(last);

  EXPECT_EQ(path.begin(), first);
  EXPECT_EQ(path.getPathList(), "a;");
}

TEST(QVROSSearchPathTest, ClearRemovesAllAndKeepsTheDelimiter) {
  QVROSSearchPath path("a;b", ':');

  path.clear();
  EXPECT_EQ(path.getPathList(), "");

  path.pushBack("c");
  EXPECT_EQ(path.getPathList(), "c:");
}

TEST(QVROSSearchPathTest, FindsTheFirstEntryOfAText) {
  QVROSSearchPath path = made("a;x/y;b;a");
  const QVROSSearchPath& constant = path;

  EXPECT_EQ(path.findPath("a"), path.begin());
  EXPECT_EQ(path.findPath("x/y"), at(path, 1));
  EXPECT_EQ(constant.findPath("x\\y"), std::next(constant.begin()));
  EXPECT_EQ(path.findPath("A"), path.end());
  EXPECT_EQ(constant.findPath("x"), constant.end());
}

TEST(QVROSSearchPathTest, EntriesCanBeChangedInPlace) {
  QVROSSearchPath path = made("a;b");

  for (QVROSPath& entry : path) entry.appendPath("c");

  EXPECT_EQ(path.getPathList(), "a\\c;b\\c;");
}

TEST(QVROSSearchPathTest, EqualityGoesByDelimiterAndEntriesInOrder) {
  const QVROSSearchPath path = made("a;b");
  const struct {
    QVROSSearchPath other;
    bool isEqual;
  } cases[] = {
      {made("a;b"), true},  {made(";a;;b;"), true}, {QVROSSearchPath("a;b", ':'), false},
      {made("b;a"), false}, {made("a"), false},     {made("a;b;c"), false},
      {made("a;B"), false}, {made(""), false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(path == c.other, c.isEqual) << c.other.getPathList();
    EXPECT_EQ(path != c.other, !c.isEqual) << c.other.getPathList();
  }
}

TEST(QVROSSearchPathTest, CopyIsIndependent) {
  QVROSSearchPath path("a;b", ':');
  const QVROSSearchPath copy = path;

  path.pushBack("c");
  path.setDelimiter(',');

  EXPECT_EQ(copy.getPathList(), "a:b:");
}

TEST(QVROSSearchPathTest, AssignmentTakesEntriesAndDelimiter) {
  QVROSSearchPath path = made("a;b");

  EXPECT_EQ(&(path = QVROSSearchPath("c;d;c", ':')), &path);

  EXPECT_EQ(path.getPathList(), "c:d:c:");
}

TEST(QVROSSearchPathTest, AssignmentOfAnEqualOneLeavesIteratorsValid) {
  QVROSSearchPath path = made("a;b");
  const QVROSSearchPath::iterator second = at(path, 1);

  path = made("a;b");
  path = *&path;

  EXPECT_EQ(path.findPath("b"), second);
}

TEST(QVROSSearchPathTest, AssignmentOfATextKeepsTheDelimiterAndEqualPieces) {
  QVROSSearchPath path("a;b", ':');

  EXPECT_EQ(&(path = "c;;d;c"), &path);

  EXPECT_EQ(path.getPathList(), "c:d:c:");
}

/// Three directories: the name "second" is in the second and third one, "third" in the
/// third one.
class QVROSSearchPathFileTest : public testing::Test {
 protected:
  QVROSSearchPathFileTest() {
    place_.makeDirectory("1");
    place_.makeFile("2/second");
    place_.makeFile("3/second");
    place_.makeFile("3/third/file");
  }

  std::string list() const { return place_ / "1" + ';' + (place_ / "2") + ';' + (place_ / "3"); }

  void expectFound(const QVROSSearchPath& path, const QVROSPath& file,
                   const std::string& expected) const {
    QVROSPath result;
    EXPECT_TRUE(path.findFile(file, result)) << file.getPath();
    EXPECT_EQ(result, expected);
  }
  void expectAbsent(const QVROSSearchPath& path, const QVROSPath& file) const {
    QVROSPath result;
    EXPECT_FALSE(path.findFile(file, result)) << file.getPath();
    EXPECT_EQ(result, file);
  }

  const TemporaryDirectory place_;
};

TEST_F(QVROSSearchPathFileTest, FirstDirectoryThatHasTheNameWins) {
  const QVROSSearchPath path = made(list());

  expectFound(path, "second", place_ / "2/second");
  expectFound(path, "third/file", place_ / "3/third/file");
  expectAbsent(path, "fourth");
  expectAbsent(QVROSSearchPath(), "second");
}

TEST_F(QVROSSearchPathFileTest, DirectoryOfTheNameIsAHit) {
  expectFound(made(list()), "third", place_ / "3/third");
  expectFound(made(list()), "", place_ / "1/");
}

TEST_F(QVROSSearchPathFileTest, AbsoluteNameIsLookedForBelowTheDirectories) {
  expectFound(made(list()), "\\second", place_ / "2/second");
  expectAbsent(made(list()), place_ / "2/second");
}

TEST_F(QVROSSearchPathFileTest, DirectoriesThatAreAbsentArePassedOver) {
  expectFound(made(place_ / "absent;" + (place_ / "2/second;") + list()), "second",
              place_ / "2/second");
}

TEST_F(QVROSSearchPathFileTest, DirectoryAndNameAreExpanded) {
  const ScopedEnvironment home("HOME", (place_ / "3").c_str());
  const QVROSSearchPath path = made(place_ / "1;%ANY%");

  expectFound(path, "third/file", place_ / "3/third/file");
  EXPECT_EQ(path.getPathList(), QVROSPath(place_ / "1").getPath() + ";%ANY%;");

  const ScopedEnvironment name("HOME", "second");
  expectFound(made(list()), "%ANY%", place_ / "2/second");
  expectAbsent(made(place_ / "1"), "%ANY%");
}

TEST_F(QVROSSearchPathFileTest, DirectoryAndNameMeetAtOneSeparator) {
  for (const char* separators : {"", "/", "\\"}) {
    const QVROSSearchPath path = made(place_ / "2" + separators);
    expectFound(path, "second", place_ / "2/second");
    expectFound(path, "/second", place_ / "2/second");
  }
  expectFound(made("/"), place_ / "2/second", place_ / "2/second");
  expectFound(made("/"), (place_ / "2/second").substr(1), place_ / "2/second");
}

TEST_F(QVROSSearchPathFileTest, LongestPathIsFoundHoweverManySeparatorsMeet) {
  constexpr std::size_t kLongest = 4095;
  const std::string name = "second";
  std::string directory = place_ / "2";
  if ((kLongest - directory.size() - 1 - name.size()) % 2 != 0) directory += '/';
  while (directory.size() + 1 + name.size() < kLongest) directory += "/.";
  for (const char* end : {"", "/"}) {
    for (const char* begin : {"", "/"}) {
      expectFound(made(directory + end), begin + name, directory + '/' + name);
      expectAbsent(made(directory + "." + end), begin + name);
    }
  }
}

TEST_F(QVROSSearchPathFileTest, DirectoryThatWasEmptiedIsTheCurrentOne) {
  QVROSSearchPath path = made("a");
  path.begin()->setPath("");

  expectFound(path, ".", ".");
  expectFound(path, place_ / "2/second", place_ / "2/second");
  expectAbsent(path, (place_ / "2/second").substr(1));
}

TEST_F(QVROSSearchPathFileTest, SinglePercentSignIsAnOrdinaryCharacter) {
  place_.makeFile("50%/100%");

  expectFound(made(place_ / "50%"), "100%", place_ / "50%/100%");
}

TEST_F(QVROSSearchPathFileTest, NameWithAZeroByteIsAbsent) {
  expectAbsent(made(list()), std::string("second\0", 7));
}

TEST_F(QVROSSearchPathFileTest, ResultMayBeTheNameOrAnEntry) {
  QVROSSearchPath path = made(list());
  QVROSPath file = "third";
  EXPECT_TRUE(path.findFile(file, file));
  EXPECT_EQ(file, place_ / "3/third");

  file = "fourth";
  EXPECT_FALSE(path.findFile(file, file));
  EXPECT_EQ(file, "fourth");

  EXPECT_TRUE(path.findFile("second", *path.begin()));
  EXPECT_EQ(*path.begin(), place_ / "2/second");
}

}  // namespace
