// Path texts, what they name, and what is done with it, copies and moves apart.
#include "QVROSPath.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "QVREAccessDenied.h"
#include "QVREAlreadyExists.h"
#include "QVRECannotCreate.h"
#include "QVREDoesNotExist.h"
#include "QVROSPathChecks.h"
#include "support/OrdinaryUser.h"
#include "support/ScopedEnvironment.h"
#include "support/TemporaryDirectory.h"

struct QVROSPathTestAccess {
  static std::string convertPath(std::string path, char delimiter) {
    QVROSPath::_convertPath(path, delimiter);
    return path;
  }
  static std::size_t findNextDelimiter(const std::string& path, std::size_t from) {
    return QVROSPath::_findNextDelimiter(path, from);
  }
  static bool getAccess(const std::string& path, int mode) {
    return QVROSPath::_getAccess(path, mode);
  }
  static int getStat(const std::string& path, struct stat* status) {
    return QVROSPath::_getStat(path, status);
  }
  static void validateExistance(const std::string& path) { QVROSPath::_ValidateExistance(path); }
  static std::string expandEnvVars(std::string path) {
    QVROSPath()._expandEnvVars(path);
    return path;
  }
  static std::string expandUNIXEnvVars(std::string path) {
    QVROSPath()._expandUNIXEnvVars(path);
    return path;
  }
};

namespace {

namespace fs = std::filesystem;
using Access = QVROSPathTestAccess;

constexpr std::size_t kNone = std::string::npos;

/// The current directory of the process, put back at the end of the scope.
class ScopedCurrentDirectory {
 public:
  explicit ScopedCurrentDirectory(const std::string& path) { fs::current_path(path); }
  ~ScopedCurrentDirectory() { fs::current_path(before_); }

  ScopedCurrentDirectory(const ScopedCurrentDirectory&) = delete;
  ScopedCurrentDirectory& operator=(const ScopedCurrentDirectory&) = delete;

 private:
  const fs::path before_ = fs::current_path();
};

class ScopedUmask {
 public:
  explicit ScopedUmask(mode_t mask) : before_(umask(mask)) {}
  ~ScopedUmask() { umask(before_); }

  ScopedUmask(const ScopedUmask&) = delete;
  ScopedUmask& operator=(const ScopedUmask&) = delete;

 private:
  const mode_t before_;
};

std::string withBackslashes(std::string text) {
  std::replace(text.begin(), text.end(), '/', '\\');
  return text;
}

struct stat statusOf(const std::string& path) {
  struct stat status = {};
  EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
  return status;
}

unsigned modeOf(const std::string& path) { return statusOf(path).st_mode & 07777; }

/// Calls `check` with every text of these characters, up to a length.
template <class Check>
void forEachText(const std::string& characters, std::size_t maxLength, Check check) {
  std::vector<std::string> texts{""};
  for (std::size_t i = 0; i < texts.size(); ++i) {
    check(texts[i]);
    if (texts[i].size() == maxLength) continue;
    for (const char c : characters) texts.push_back(texts[i] + c);
  }
}

// Text

TEST(QVROSPathTest, DefaultNamesTheCurrentDirectory) {
  EXPECT_EQ(QVROSPath().getPath(), ".");
  EXPECT_EQ(QVROSPath().getDelimiter(), '\\');
}

TEST(QVROSPathTest, SlashesOfBothKindsBecomeBackslashes) {
  const QVROSPath path("a/b\\c");

  EXPECT_EQ(path.getPath(), "a\\b\\c");
  EXPECT_EQ(path.getNTPath(), "a\\b\\c");
  EXPECT_EQ(path.getUNIXPath(), "a/b/c");
}

TEST(QVROSPathTest, TextIsKeptApartFromItsSeparators) {
  const char* const texts[] = {"",       " A b ", "\\\\a\\\\\\b\\", ".\\..\\.", "C:\\X",
                               "%HOME%", "\t\n"};
  for (const char* const text : texts) EXPECT_EQ(QVROSPath(text).getPath(), text);
}

TEST(QVROSPathTest, TextOfAnyLengthTakesOneSeparator) {
  std::mt19937 random(1);
  const char characters[] = {'/', '\\', 'a', '\0', '\xff', '['};
  for (std::size_t size = 0; size < 80; ++size) {
    std::string text(size, ' ');
    for (char& c : text) c = characters[random() % sizeof characters];
    const std::string expected = withBackslashes(text);

    EXPECT_EQ(QVROSPath(text).getPath(), expected) << size;
    EXPECT_EQ(withBackslashes(QVROSPath(text).getUNIXPath()), expected) << size;
    EXPECT_EQ(QVROSPath(text).getUNIXPath().find('\\'), kNone) << size;
    QVROSPath changed("x");
    changed.setPath(text);
    EXPECT_EQ(changed.getPath(), expected) << size;
    changed.appendPath("x/" + text);
    EXPECT_EQ(changed.getPath().find('/'), kNone) << size;
  }
}

TEST(QVROSPathTest, CopiesAndAssignmentsTakeTheText) {
  const QVROSPath path("a/b");
  QVROSPath copy(path);
  EXPECT_EQ(copy.getPath(), "a\\b");

  copy = "c/d";
  EXPECT_EQ(copy.getPath(), "c\\d");
  copy = std::string("e/f");
  EXPECT_EQ(copy.getPath(), "e\\f");
  copy.setPath("g/h");
  EXPECT_EQ(copy.getPath(), "g\\h");
  copy = path;
  EXPECT_EQ(copy.getPath(), "a\\b");
  const QVROSPath& same = copy;
  copy = same;
  EXPECT_EQ(copy.getPath(), "a\\b");
  const QVROSPath moved(std::move(copy));
  EXPECT_EQ(moved.getPath(), "a\\b");
}

TEST(QVROSPathTest, AssignmentsReturnTheObject) {
  QVROSPath path;
  EXPECT_EQ(&(path = QVROSPath("a")), &path);
  EXPECT_EQ(&(path = "a"), &path);
  EXPECT_EQ(&(path = std::string("a")), &path);
}

TEST(QVROSPathTest, ComparesTheExactTextsOfPathsAndStrings) {
  const QVROSPath path("a\\b");

  EXPECT_TRUE(path == QVROSPath("a/b"));
  EXPECT_TRUE(path == "a/b");
  EXPECT_TRUE("a/b" == path);
  EXPECT_TRUE(path == std::string("a/b"));
  EXPECT_TRUE(std::string("a\\b") == path);
  EXPECT_FALSE(path != QVROSPath("a/b"));
  EXPECT_FALSE(path != "a/b");
  EXPECT_FALSE(path != std::string("a/b"));
  for (const char* const other : {"A\\b", "a\\\\b", "a\\b\\", ".\\a\\b", ""}) {
    EXPECT_TRUE(path != QVROSPath(other)) << other;
    EXPECT_TRUE(path != other) << other;
    EXPECT_TRUE(path != std::string(other)) << other;
    EXPECT_FALSE(path == QVROSPath(other)) << other;
    EXPECT_FALSE(path == other) << other;
    EXPECT_FALSE(path == std::string(other)) << other;
  }
}

TEST(QVROSPathTest, DerivedClassesAreDestroyedThroughTheBase) {
  struct Derived : QVROSPath {
    explicit Derived(bool& destroyed) : destroyed_(destroyed) {}
    ~Derived() override { destroyed_ = true; }
    bool& destroyed_;
  };
  bool destroyed = false;
  delete static_cast<QVROSPath*>(new Derived(destroyed));
  EXPECT_TRUE(destroyed);
}

TEST(QVROSPathTest, ConvertPathWritesTheGivenSeparator) {
  EXPECT_EQ(Access::convertPath("a/b\\c", '/'), "a/b/c");
  EXPECT_EQ(Access::convertPath("a/b\\c", '\\'), "a\\b\\c");
  EXPECT_EQ(Access::convertPath("a/b\\c", ':'), "a:b:c");
  EXPECT_EQ(Access::convertPath(std::string(40, '/') + "a", '\\'), std::string(40, '\\') + "a");
}

TEST(QVROSPathTest, FindNextDelimiterFindsBothKinds) {
  EXPECT_EQ(Access::findNextDelimiter("ab/c\\d", 0), 2u);
  EXPECT_EQ(Access::findNextDelimiter("ab/c\\d", 2), 2u);
  EXPECT_EQ(Access::findNextDelimiter("ab/c\\d", 3), 4u);
  EXPECT_EQ(Access::findNextDelimiter("ab/c\\d", 5), kNone);
  EXPECT_EQ(Access::findNextDelimiter("ab", 9), kNone);
  EXPECT_EQ(Access::findNextDelimiter("", 0), kNone);
}

// Splitting and joining

TEST(QVROSPathTest, BasenameIsTheLastName) {
  const struct {
    const char* path;
    const char* name;
  } cases[] = {{"", ""},         {"a", "a"},      {"a\\b\\c", "c"}, {"\\", ""},
               {"abc\\", "abc"}, {"a\\\\", ""},   {"\\\\", ""},     {"a\\b\\", "b"},
               {"a\\b\\\\", ""}, {"\\a", "a"},    {"\\a\\", "a"},   {"C:\\", "C:"},
               {"C:\\a", "a"},   {"a\\\\b", "b"}, {"a\\.", "."},    {"a/b/c", "c"}};
  for (const auto& c : cases) EXPECT_EQ(QVROSPath(c.path).basename(), c.name) << c.path;
}

TEST(QVROSPathTest, DirnameIsWhatStandsBeforeTheLastName) {
  const struct {
    const char* path;
    const char* directory;
  } cases[] = {{"", "."},         {"a", "."},          {"C:", "C:"},    {"C:a", "C:a"},
               {"\\", "\\"},      {"\\a", "\\"},       {"a\\", "."},    {"C:\\", "C:"},
               {"\\a\\", "\\"},   {"a\\b\\", "a"},     {"a\\b", "a"},   {"C:\\a", "C:"},
               {"a\\\\", "a"},    {"\\\\", "\\"},      {"\\\\a", "\\"}, {"a\\b\\c", "a\\b"},
               {"a\\\\b", "a\\"}, {"a\\b\\\\", "a\\b"}};
  for (const auto& c : cases) EXPECT_EQ(QVROSPath(c.path).dirname(), c.directory) << c.path;
}

/// The rules case by case, as they are told.
std::string basenameByRule(const std::string& s) {
  const std::size_t p = s.rfind('\\');
  if (p == kNone) return s;
  if (p + 1 != s.size()) return s.substr(p + 1);
  if (s.size() == 1) return "";
  const std::size_t q = s.rfind('\\', p - 1);
  if (q == kNone) return s.substr(0, p);
  return q + 1 == p ? "" : s.substr(q + 1, p - q - 1);
}

std::string dirnameByRule(const std::string& s) {
  const bool hasColon = s.find(':') != kNone;
  const std::size_t p = s.rfind('\\');
  if (p == kNone) return hasColon ? s : ".";
  if (s.size() == 1 || p == 0) return s.substr(0, 1);
  if (p + 1 != s.size()) return s.substr(0, p);
  const std::size_t q = s.rfind('\\', p - 1);
  if (q == kNone) return hasColon ? s.substr(0, p) : ".";
  return q == 0 ? s.substr(0, 1) : s.substr(0, q);
}

TEST(QVROSPathTest, EveryShortTextIsSplitByTheRules) {
  forEachText("a\\:.", 7, [](const std::string& text) {
    EXPECT_EQ(QVROSPath(text).basename(), basenameByRule(text)) << text;
    EXPECT_EQ(QVROSPath(text).dirname(), dirnameByRule(text)) << text;
  });
}

TEST(QVROSPathTest, AppendPathMeetsInOneSeparator) {
  const struct {
    const char* path;
    const char* part;
    const char* joined;
  } cases[] = {
      {"a", "b", "a\\b"},
      {"a\\", "\\b", "a\\b"},
      {"a", "\\b", "a\\b"},
      {"a\\", "b", "a\\b"},
      {"a", "/b/c", "a\\b\\c"},
      {"a\\", "/b", "a\\b"},
      {"a\\\\", "\\\\b", "a\\\\\\b"},
      {"a", "", "a\\"},
      {"a\\", "", "a\\"},
      {"", "b", "b"},
      {"", "/b", "\\b"},
      {"", "", ""},
      {"a", "\\", "a\\"},
      {"a\\", "\\", "a\\"},
      {".", "..", ".\\.."},
      {"a", "a part/of more/than sixteen bytes", "a\\a part\\of more\\than sixteen bytes"}};
  for (const auto& c : cases) {
    QVROSPath path(c.path);
    path.appendPath(c.part);
    EXPECT_EQ(path.getPath(), c.joined) << c.path << " + " << c.part;
  }
}

// Validity

TEST(QVROSPathTest, NTValidityRefusesTheListedCharacters) {
  const QVROSPath path;
  for (int c = 0; c < 256; ++c) {
    const char text[] = {'a', static_cast<char>(c), 'b'};
    const bool isRefused = std::string("/:?\"<>|\t\n ").find(text[1]) != kNone;
    EXPECT_EQ(path.isNTValid(std::string(text, 3)), !isRefused) << c;
  }
  EXPECT_FALSE(path.isNTValid("C:\\x"));
  EXPECT_FALSE(path.isNTValid("a b"));
}

TEST(QVROSPathTest, UNIXValidityRefusesTheListedCharacters) {
  const QVROSPath path;
  for (int c = 0; c < 256; ++c) {
    const char text[] = {'a', static_cast<char>(c), 'b'};
    const bool isRefused = std::string("\\`\"\t\n ").find(text[1]) != kNone;
    EXPECT_EQ(path.isUNIXValid(std::string(text, 3)), !isRefused) << c;
  }
  EXPECT_FALSE(path.isUNIXValid("a\\b"));
}

TEST(QVROSPathTest, ValidTextsHaveAtMost1024Characters) {
  const QVROSPath path;
  EXPECT_TRUE(path.isNTValid(std::string(1024, 'a')));
  EXPECT_FALSE(path.isNTValid(std::string(1025, 'a')));
  EXPECT_TRUE(path.isUNIXValid(std::string(1024, 'a')));
  EXPECT_FALSE(path.isUNIXValid(std::string(1025, 'a')));
  EXPECT_TRUE(path.isNTValid(""));
  EXPECT_TRUE(path.isUNIXValid(""));
}

TEST(QVROSPathTest, ValidityOfTheObjectIsThatOfItsText) {
  EXPECT_TRUE(QVROSPath("a/b").isValid());  // holds a backslash
  EXPECT_FALSE(QVROSPath("a b").isValid());
  EXPECT_FALSE(QVROSPath("C:\\x").isValid());
}

// Expansion

TEST(QVROSPathTest, EveryReferenceBecomesHome) {
  const ScopedEnvironment home("HOME", "/home/me");
  const struct {
    const char* path;
    const char* expanded;
  } cases[] = {{"a", "a"},
               {"", ""},
               {"%TEMP%\\x", "/home/me\\x"},
               {"%%", "/home/me"},
               {"%", "%"},
               {"a%b", "a%b"},
               {"%a\\b%", "%a\\b%"},
               {"%a\\%b%\\c", "%a\\/home/me\\c"},
               {"%A%\\%B%", "/home/me\\/home/me"},
               {"x%A%y", "x/home/mey"},
               {"$HOME", "$HOME"}};
  for (const auto& c : cases) {
    EXPECT_EQ(QVROSPath(c.path).getExpandedPath(), c.expanded) << c.path;
    EXPECT_EQ(Access::expandEnvVars(c.path), c.expanded) << c.path;
  }
}

TEST(QVROSPathTest, ExpansionGoesOnAtPositionsOfTheTextBefore) {
  const ScopedEnvironment home("HOME", "h");
  // Behind "%AA%" position 4 is meanwhile the second sign of the next pair.
  EXPECT_EQ(QVROSPath("%AA%%BB%").getExpandedPath(), "h%BB%");
  EXPECT_EQ(QVROSPath("%AA%xyz%BB%").getExpandedPath(), "hxyzh");
  EXPECT_EQ(QVROSPath("%AA%xy%BB%%CC%").getExpandedPath(), "hxy%BBhCC%");
}

TEST(QVROSPathTest, UnsetHomeExpandsToNothing) {
  const ScopedEnvironment home("HOME", nullptr);
  EXPECT_EQ(QVROSPath("%TEMP%\\x").getExpandedPath(), "\\x");
  EXPECT_EQ(Access::expandUNIXEnvVars("$TEMP\\x"), "\\x");
}

/// The rule step by step, as it is told.
std::string expandByRule(std::string text, const std::string& home) {
  std::size_t a = text.find('%');
  if (a == kNone) return text;
  std::size_t b = text.find('%', a + 1);
  while (b != kNone) {
    if (text.substr(a + 1, b - a - 1).find('\\') != kNone) {
      a = b;
      b = text.find('%', b + 1);
      continue;
    }
    text = text.substr(0, a) + home + text.substr(b + 1);
    a = b + 1 <= text.size() ? text.find('%', b + 1) : kNone;
    b = a == kNone ? kNone : text.find('%', a + 1);
  }
  return text;
}

TEST(QVROSPathTest, EveryShortTextIsExpandedByTheRule) {
  for (const char* const value : {"", "h", "/home/somebody"}) {
    const ScopedEnvironment home("HOME", value);
    forEachText("%a\\", 8, [&](const std::string& text) {
      EXPECT_EQ(QVROSPath(text).getExpandedPath(), expandByRule(text, value)) << text;
    });
  }
}

TEST(QVROSPathTest, HomeThatHoldsReferencesIsNotExpandedWithoutEnd) {
  const ScopedEnvironment home("HOME", "/home/%u%");
  EXPECT_EQ(QVROSPath("%T%").getExpandedPath(), "/home/%u%");
  EXPECT_LT(QVROSPath("%A%%B%%C%").getExpandedPath().size(), 100u);
}

TEST(QVROSPathTest, UnixReferencesBecomeHomeToo) {
  const ScopedEnvironment home("HOME", "/home/me");
  const struct {
    const char* path;
    const char* expanded;
  } cases[] = {{"", ""},
               {"a", "a"},
               {"$A", "/home/me"},
               {"$(A)", "/home/me"},
               {"$A\\b", "/home/me\\b"},
               {"x$A\\b", "x/home/me\\b"},
               {"$A\\$(B)\\c", "/home/me\\/home/me\\c"},
               {"$A\\$B", "/home/me\\/home/me"},
               {"$A$B", "/home/me"},
               {"$", "$"},
               {"a$", "a$"},
               {"$\\$A", "$\\/home/me"},
               {"$A\\", "/home/me\\"},
               {"%A%", "%A%"}};
  for (const auto& c : cases) EXPECT_EQ(Access::expandUNIXEnvVars(c.path), c.expanded) << c.path;
}

TEST(QVROSPathTest, UnixReferencesWithinHomeStay) {
  const ScopedEnvironment home("HOME", "$a\\$b");
  EXPECT_EQ(Access::expandUNIXEnvVars("$A\\c"), "$a\\$b\\c");
}

// Full paths, the current directory

TEST(QVROSPathTest, AbsoluteTextsAreFolded) {
  const struct {
    const char* path;
    const char* full;
  } cases[] = {{"/", "\\"},
               {"///", "\\"},
               {"/a", "\\a"},
               {"/a/", "\\a\\"},
               {"/a//", "\\a\\"},
               {"//a///b", "\\a\\b"},
               {"/a/./b", "\\a\\b"},
               {"/a/b/..", "\\a"},
               {"/a/b/../", "\\a\\"},
               {"/a/b/.", "\\a\\b"},
               {"/a/b/./", "\\a\\b\\"},
               {"/..", "\\"},
               {"/../..", "\\"},
               {"/../a", "\\a"},
               {"/a/../..", "\\"},
               {"/a/../../b", "\\b"},
               {"/a/..", "\\"},
               {"/a/../", "\\"},
               {"/...", "\\..."},
               {"/a/..b/.c/d.", "\\a\\..b\\.c\\d."},
               {"\\no\\such\\..\\place", "\\no\\place"}};
  for (const auto& c : cases) EXPECT_EQ(QVROSPath(c.path).getFullPath(), c.full) << c.path;
}

TEST(QVROSPathTest, RelativeTextsAreJoinedWithTheCurrentDirectory) {
  const TemporaryDirectory directory;
  const std::string place = withBackslashes(directory.makeDirectory("p/q"));
  const std::string above = place.substr(0, place.size() - 2);
  const ScopedCurrentDirectory current(directory / "p/q");

  EXPECT_EQ(QVROSPath("a").getFullPath(), place + "\\a");
  EXPECT_EQ(QVROSPath("a/").getFullPath(), place + "\\a\\");
  EXPECT_EQ(QVROSPath(".").getFullPath(), place);
  EXPECT_EQ(QVROSPath("./").getFullPath(), place + "\\");
  EXPECT_EQ(QVROSPath("..").getFullPath(), above);
  EXPECT_EQ(QVROSPath("../a").getFullPath(), above + "\\a");
  EXPECT_EQ(QVROSPath("C:\\a").getFullPath(), place + "\\C:\\a");
  EXPECT_EQ(QVROSPath("").getCurrentDir(), place);
}

TEST(QVROSPathTest, FullPathIsThatOfTheExpandedText) {
  const ScopedEnvironment home("HOME", "/home/me/");
  EXPECT_EQ(QVROSPath("%X%\\..\\a").getFullPath(), "\\home\\a");
}

TEST(QVROSPathTest, FullPathDoesNotFollowLinks) {
  const TemporaryDirectory directory;
  directory.makeDirectory("target");
  fs::create_directory_symlink("target", directory / "link");

  EXPECT_EQ(QVROSPath(directory / "link/..").getFullPath(), withBackslashes(directory.path()));
}

TEST(QVROSPathTest, FullPathOfAnEmptyTextFails) {
  const ScopedEnvironment home("HOME", nullptr);
  for (const char* const text : {"", "%X%"}) {
    expectPathFailure<QVREAccessDenied>([&] { QVROSPath(text).getFullPath(); },
                                        "Could not access file");
  }
}

TEST(QVROSPathTest, AbsoluteTextsNeedNoCurrentDirectory) {
  const TemporaryDirectory directory;
  const ScopedCurrentDirectory current(directory.makeDirectory("gone"));
  fs::remove(directory / "gone");

  EXPECT_EQ(QVROSPath("/a/../b").getFullPath(), "\\b");
  expectPathFailure<QVREAccessDenied>([] { QVROSPath("a").getFullPath(); },
                                      "Could not access file");
  expectPathFailure<QVREDoesNotExist>([] { QVROSPath("/").getCurrentDir(); },
                                      " file does not exists");
}

TEST(QVROSPathTest, NoFullPathIsTooLong) {
  const std::string text = "/" + std::string(100'000, 'a');
  EXPECT_EQ(QVROSPath(text).getFullPath().size(), text.size());
}

TEST(QVROSPathTest, CurrentDirectoryMayBeLongerThanTheSystemsPaths) {
  const TemporaryDirectory directory;
  const ScopedCurrentDirectory current(directory.path());
  const std::string name(250, 'n');
  constexpr std::size_t kDepth = PATH_MAX / 250 + 1;
  for (std::size_t i = 0; i < kDepth; ++i) {
    ASSERT_EQ(mkdir(name.c_str(), 0700), 0);
    QVROSPath().changeCurrentDir(name);
  }

  std::string expected = withBackslashes(directory.path());
  for (std::size_t i = 0; i < kDepth; ++i) expected += '\\' + name;
  EXPECT_EQ(QVROSPath().getCurrentDir(), expected);
  EXPECT_EQ(QVROSPath("a").getFullPath(), expected + "\\a");
}

TEST(QVROSPathTest, ChangeCurrentDirTakesTheBytesAsTheyAre) {
  const TemporaryDirectory directory;
  const ScopedCurrentDirectory current(directory.path());
  directory.makeDirectory("\xff\xe9 %x%/\xe2\x82\xac");

  QVROSPath("elsewhere").changeCurrentDir("\xff\xe9 %x%\\\xe2\x82\xac");

  EXPECT_EQ(fs::current_path().string(), directory / "\xff\xe9 %x%/\xe2\x82\xac");
  EXPECT_EQ(QVROSPath().getCurrentDir(), withBackslashes(directory / "\xff\xe9 %x%/\xe2\x82\xac"));
}

TEST(QVROSPathTest, ChangeCurrentDirToNoDirectoryFails) {
  const TemporaryDirectory directory;
  const std::string cases[] = {directory / "absent", directory.makeFile("file"), "",
                               directory.path() + std::string(1, '\0')};
  for (const std::string& c : cases) {
    expectPathFailure<QVREAccessDenied>([&] { QVROSPath().changeCurrentDir(c); },
                                        "Failed to change current working directory");
  }
}

// Queries

TEST(QVROSPathTest, QueriesTellWhatAPathNames) {
  const TemporaryDirectory directory;
  directory.makeFile("file");
  directory.makeDirectory("directory");
  fs::create_symlink("file", directory / "link");
  fs::create_symlink("absent", directory / "dangling");
  ASSERT_EQ(mkfifo((directory / "fifo").c_str(), 0600), 0);
  const struct {
    std::string path;
    bool exists, isRegularFile, isDirectory;
  } cases[] = {{directory / "file", true, true, false},
               {directory / "directory", true, false, true},
               {directory / "directory/", true, false, true},
               {directory / "file/", false, false, false},
               {directory / "link", true, true, false},
               {directory / "dangling", false, false, false},
               {directory / "fifo", true, false, false},
               {directory / "absent", false, false, false},
               {"/dev/null", true, false, false},
               {"", false, false, false},
               {directory / std::string("file\0", 5), false, false, false},
               {directory / std::string(5000, 'a'), false, false, false}};
  for (const auto& c : cases) {
    const QVROSPath path(c.path);
    EXPECT_EQ(path.exists(), c.exists) << c.path;
    EXPECT_EQ(path.isRegularFile(), c.isRegularFile) << c.path;
    EXPECT_EQ(path.isDirectory(), c.isDirectory) << c.path;
    EXPECT_EQ(path.isReadable(), c.exists) << c.path;
    EXPECT_EQ(path.isWritable(), c.exists) << c.path;
    EXPECT_EQ(path.isExecutable(), c.isDirectory) << c.path;
  }
}

TEST(QVROSPathTest, QueriesAskOfTheExpandedTextButForExecution) {
  const TemporaryDirectory directory;
  const ScopedEnvironment home("HOME", directory.path().c_str());
  directory.makeFile("file");
  fs::permissions(directory / "file", fs::perms::owner_all);
  const QVROSPath path("%X%/file");

  EXPECT_TRUE(path.exists());
  EXPECT_TRUE(path.isReadable());
  EXPECT_TRUE(path.isWritable());
  EXPECT_TRUE(path.isRegularFile());
  EXPECT_TRUE(QVROSPath("%X%").isDirectory());
  EXPECT_FALSE(path.isExecutable());
  EXPECT_TRUE(QVROSPath(directory / "file").isExecutable());
}

TEST(QVROSPathTest, QueriesTellTheRightsOfTheUser) {
  const TemporaryDirectory directory;
  const struct {
    const char* name;
    mode_t mode;
    bool isReadable, isWritable, isExecutable;
  } cases[] = {{"none", 0, false, false, false},
               {"read", 0444, true, false, false},
               {"write", 0222, false, true, false},
               {"execute", 0111, false, false, true},
               {"all", 0777, true, true, true}};
  fs::permissions(directory.path(), fs::perms::all);
  for (const auto& c : cases) chmod(directory.makeFile(c.name).c_str(), c.mode);

  asOrdinaryUser([&] {
    for (const auto& c : cases) {
      const QVROSPath path(directory / c.name);
      EXPECT_TRUE(path.exists()) << c.name;
      EXPECT_EQ(path.isReadable(), c.isReadable) << c.name;
      EXPECT_EQ(path.isWritable(), c.isWritable) << c.name;
      EXPECT_EQ(path.isExecutable(), c.isExecutable) << c.name;
    }
  });
}

TEST(QVROSPathTest, RightsAreThoseOfTheRealUserAndTheStatusIsTheEffectiveUsers) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can have two users at once";
  const TemporaryDirectory directory;  // for its owner alone
  const QVROSPath path(directory.makeFile("file"));

  ASSERT_EQ(setresuid(kOrdinaryUser, 0, 0), 0);
  EXPECT_FALSE(path.exists());
  EXPECT_FALSE(path.isReadable());
  EXPECT_TRUE(path.isRegularFile());
  expectPathFailure<QVREDoesNotExist>([&] { path.size(); }, "The file does not exist");
  ASSERT_EQ(setresuid(0, 0, 0), 0);
}

TEST(QVROSPathTest, AccessTakesTheNumericModes) {
  const TemporaryDirectory directory;
  const std::string file = directory.makeFile("file");
  chmod(file.c_str(), 0600);

  EXPECT_TRUE(Access::getAccess(file, 0));
  EXPECT_FALSE(Access::getAccess(file, 1));
  EXPECT_TRUE(Access::getAccess(file, 2));
  EXPECT_TRUE(Access::getAccess(file, 4));
  EXPECT_FALSE(Access::getAccess(directory / "absent", 0));
  EXPECT_NO_THROW(Access::validateExistance(file));
  expectPathFailure<QVREDoesNotExist>([&] { Access::validateExistance(directory / "absent"); },
                                      "The file does not exist");
  struct stat status;
  EXPECT_EQ(Access::getStat(withBackslashes(file), &status), 0);
  EXPECT_TRUE(S_ISREG(status.st_mode));
  EXPECT_EQ(Access::getStat(directory / "absent", &status), -1);
}

// Status values

TEST(QVROSPathTest, SizeIsTheLow32BitsSigned) {
  const TemporaryDirectory directory;
  const std::string file = directory.makeFile("file", "12345");
  EXPECT_EQ(QVROSPath(file).size(), 5);
  const struct {
    std::int64_t bytes;
    int size;
  } cases[] = {{0, 0},
               {INT32_MAX, INT32_MAX},
               {std::int64_t{INT32_MAX} + 1, INT32_MIN},
               {UINT32_MAX, -1},
               {std::int64_t{UINT32_MAX} + 8, 7}};
  for (const auto& c : cases) {
    fs::resize_file(file, static_cast<std::uintmax_t>(c.bytes));
    EXPECT_EQ(QVROSPath(file).size(), c.size) << c.bytes;
  }
}

TEST(QVROSPathTest, TimesAreThoseOfTheStatus) {
  const TemporaryDirectory directory;
  const std::string file = directory.makeFile("file");
  const timespec times[] = {{1'000'000'000, 5}, {1'234'567'890, 6}};
  ASSERT_EQ(utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
  const QVROSPath path(file);

  EXPECT_EQ(path.getAccessTime(), 1'000'000'000);
  EXPECT_EQ(path.getModifyTime(), 1'234'567'890);
  EXPECT_EQ(path.getStatusTime(), statusOf(file).st_ctim.tv_sec);
}

TEST(QVROSPathTest, TimesAreTakenInFullAndGivenBackCut) {
  const TemporaryDirectory directory;
  const std::string file = directory.makeFile("file");
  const QVROSPath path(file);
  const struct {
    long seconds, cut;
  } cases[] = {{0, 0},
               {-1, -1},
               {INT32_MAX, INT32_MAX},
               {long{INT32_MAX} + 1, INT32_MIN},
               {(1L << 32) + 7, 7}};
  for (const auto& c : cases) {
    path.setAccessTime(c.seconds);
    path.setModifyTime(c.seconds);
    EXPECT_EQ(statusOf(file).st_atim.tv_sec, c.seconds);
    EXPECT_EQ(statusOf(file).st_mtim.tv_sec, c.seconds);
    EXPECT_EQ(path.getAccessTime(), c.cut);
    EXPECT_EQ(path.getModifyTime(), c.cut);
  }
}

TEST(QVROSPathTest, SettingOneTimeLeavesTheOtherToTheNanosecond) {
  const TemporaryDirectory directory;
  const std::string file = directory.makeFile("file");
  const timespec times[] = {{1'000'000'000, 123'456'789}, {1'100'000'000, 987'654'321}};
  const QVROSPath path(file);

  ASSERT_EQ(utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
  path.setAccessTime(5);
  EXPECT_EQ(statusOf(file).st_atim.tv_sec, 5);
  EXPECT_EQ(statusOf(file).st_atim.tv_nsec, 0);
  EXPECT_EQ(statusOf(file).st_mtim.tv_sec, times[1].tv_sec);
  EXPECT_EQ(statusOf(file).st_mtim.tv_nsec, times[1].tv_nsec);

  ASSERT_EQ(utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
  path.setModifyTime(6);
  EXPECT_EQ(statusOf(file).st_mtim.tv_sec, 6);
  EXPECT_EQ(statusOf(file).st_mtim.tv_nsec, 0);
  EXPECT_EQ(statusOf(file).st_atim.tv_sec, times[0].tv_sec);
  EXPECT_EQ(statusOf(file).st_atim.tv_nsec, times[0].tv_nsec);
}

TEST(QVROSPathTest, SettingATimeWithoutTheRightIsNotReported) {
  const TemporaryDirectory directory;
  fs::permissions(directory.path(), fs::perms::all);
  const QVROSPath path(geteuid() == 0 ? directory.makeFile("file") : std::string("/etc/passwd"));
  const long before = path.getModifyTime();

  asOrdinaryUser([&] {
    path.setModifyTime(1);
    path.setAccessTime(1);
  });
  EXPECT_EQ(path.getModifyTime(), before);
}

TEST(QVROSPathTest, StatusValuesOfWhatIsAbsentFail) {
  const TemporaryDirectory directory;
  for (const std::string& name : {std::string("absent"), std::string("file\0", 5)}) {
    directory.makeFile("file");
    const QVROSPath path(directory / name);
    const auto expectAbsent = [](auto action) {
      expectPathFailure<QVREDoesNotExist>(action, "The file does not exist");
    };
    expectAbsent([&] { path.size(); });
    expectAbsent([&] { path.getAccessTime(); });
    expectAbsent([&] { path.getModifyTime(); });
    expectAbsent([&] { path.getStatusTime(); });
    expectAbsent([&] { path.setAccessTime(1); });
    expectAbsent([&] { path.setModifyTime(1); });
    expectAbsent([&] { path.removeRegularFile(); });
    expectAbsent([&] { path.removeDirectory(); });
  }
}

TEST(QVROSPathTest, SizeIsOfTheExpandedTextAndTimesAreOfTheUnexpandedOne) {
  const TemporaryDirectory directory;
  const ScopedEnvironment home("HOME", "home");
  const ScopedCurrentDirectory current(directory.path());
  directory.makeFile("home", "123");
  directory.makeFile("%X%", "1");
  const QVROSPath path("%X%");

  path.setModifyTime(1'000);
  path.setAccessTime(2'000);

  EXPECT_EQ(path.size(), 3);
  EXPECT_EQ(statusOf("%X%").st_mtim.tv_sec, 1'000);
  EXPECT_EQ(statusOf("%X%").st_atim.tv_sec, 2'000);
  EXPECT_EQ(path.getModifyTime(), 1'000);
  EXPECT_EQ(path.getAccessTime(), 2'000);
  EXPECT_EQ(path.getStatusTime(), statusOf("%X%").st_ctim.tv_sec);
  EXPECT_NE(statusOf("home").st_mtim.tv_sec, 1'000);
}

// Actions

TEST(QVROSPathTest, ActionsWorkOnTheExpandedText) {
  const TemporaryDirectory directory;
  const ScopedEnvironment home("HOME", directory.path().c_str());
  const QVROSPath file("%X%\\file");
  const QVROSPath made("%X%\\directory");

  file.createRegularFile(QVROSPath::FAIL_IF_EXISTS);
  made.createDirectory();
  EXPECT_TRUE(fs::is_regular_file(directory / "file"));
  EXPECT_TRUE(fs::is_directory(directory / "directory"));

  file.removeRegularFile();
  made.removeDirectory();
  EXPECT_TRUE(fs::is_empty(directory.path()));
}

TEST(QVROSPathTest, NamesHaveEveryLegalByte) {
  const TemporaryDirectory directory;
  for (int c = 1; c < 256; ++c) {
    if (c == '/' || c == '\\') continue;
    const std::string name{'n', static_cast<char>(c)};
    const QVROSPath path(directory / name);

    path.createRegularFile(QVROSPath::FAIL_IF_EXISTS);
    EXPECT_EQ(fs::directory_iterator(directory.path())->path().filename().string(), name);
    EXPECT_TRUE(path.exists()) << c;
    path.removeRegularFile();
    EXPECT_FALSE(path.exists()) << c;
  }
}

TEST(QVROSPathTest, NewFilesAndDirectoriesHaveAllRightsButTheUmask) {
  const TemporaryDirectory directory;
  const ScopedUmask mask(027);

  QVROSPath(directory / "file").createRegularFile(QVROSPath::FAIL_IF_EXISTS);
  QVROSPath(directory / "overwritten").createRegularFile(QVROSPath::OVERWRITE);
  QVROSPath(directory / "directory").createDirectory();

  EXPECT_EQ(modeOf(directory / "file"), 0640u);
  EXPECT_EQ(modeOf(directory / "overwritten"), 0640u);
  EXPECT_EQ(modeOf(directory / "directory"), 0750u);
}

TEST(QVROSPathTest, RemoveRegularFileUnlinksTheLinkAndNotItsTarget) {
  const TemporaryDirectory directory;
  directory.makeFile("file");
  fs::create_symlink("file", directory / "link");

  QVROSPath(directory / "link").removeRegularFile();

  EXPECT_FALSE(fs::exists(fs::symlink_status(directory / "link")));
  EXPECT_TRUE(fs::exists(directory / "file"));
}

TEST(QVROSPathTest, RemovalOfTheOtherKindFails) {
  const TemporaryDirectory directory;
  const QVROSPath file(directory.makeFile("full/file"));
  const QVROSPath empty(directory.makeDirectory("empty"));

  expectPathFailure<QVREAccessDenied>([&] { empty.removeRegularFile(); },
                                      "Permission denied, removal of file failed");
  expectPathFailure<QVREAccessDenied>([&] { file.removeDirectory(); },
                                      "Removal of directory failed");
  expectPathFailure<QVREAccessDenied>([&] { QVROSPath(directory / "full").removeDirectory(); },
                                      "Removal of directory failed");
  EXPECT_TRUE(empty.isDirectory());
  EXPECT_TRUE(file.isRegularFile());
}

TEST(QVROSPathTest, CreateRegularFileOverwritesInModeZeroOnly) {
  const TemporaryDirectory directory;
  const std::string file = directory.makeFile("file", "bytes");
  const QVROSPath path(file);
  for (const int mode : {1, 2, -1}) {
    expectPathFailure<QVREAlreadyExists>(
        [&] { path.createRegularFile(static_cast<QVROSPath::createMode>(mode)); },
        "File to be created already exists.");
  }
  EXPECT_EQ(path.size(), 5);

  path.createRegularFile(QVROSPath::OVERWRITE);
  EXPECT_EQ(path.size(), 0);
}

TEST(QVROSPathTest, CreateRegularFileReplacesALinkRatherThanItsTarget) {
  const TemporaryDirectory directory;
  directory.makeFile("file", "bytes");
  fs::create_symlink("file", directory / "link");

  QVROSPath(directory / "link").createRegularFile(QVROSPath::OVERWRITE);

  EXPECT_FALSE(fs::is_symlink(directory / "link"));
  EXPECT_EQ(QVROSPath(directory / "file").size(), 5);
}

TEST(QVROSPathTest, CreationsFail) {
  const TemporaryDirectory directory;
  fs::create_symlink("nowhere/at/all", directory / "dangling");
  const std::string impossible[] = {"", directory / "absent/file", directory / "dangling",
                                    directory / std::string("a\0", 2)};
  for (const std::string& c : impossible) {
    for (const auto mode : {QVROSPath::OVERWRITE, QVROSPath::FAIL_IF_EXISTS}) {
      expectPathFailure<QVRECannotCreate>([&] { QVROSPath(c).createRegularFile(mode); },
                                          "Creation of regular file failed.");
    }
    expectPathFailure<QVRECannotCreate>([&] { QVROSPath(c).createDirectory(); },
                                        "could not create directory");
  }
  expectPathFailure<QVREAlreadyExists>([&] { QVROSPath(directory.path()).createDirectory(); },
                                       "File to be created already exists.");
  expectPathFailure<QVREAccessDenied>(
      [&] { QVROSPath(directory.path()).createRegularFile(QVROSPath::OVERWRITE); },
      "Permission denied, removal of file failed");
}

TEST(QVROSPathTest, ActionsNeedRightsToTheDirectory) {
  const TemporaryDirectory directory;
  fs::permissions(directory.path(), fs::perms::all);
  const QVROSPath file(directory.makeFile("closed/file"));
  const QVROSPath subdirectory(directory.makeDirectory("closed/directory"));
  fs::permissions(directory / "closed", fs::perms(0555));

  asOrdinaryUser([&] {
    expectPathFailure<QVREAccessDenied>([&] { file.removeRegularFile(); },
                                        "Permission denied, removal of file failed");
    expectPathFailure<QVREAccessDenied>([&] { subdirectory.removeDirectory(); },
                                        "Removal of directory failed");
    const QVROSPath fresh(directory / "closed/new");
    expectPathFailure<QVRECannotCreate>([&] { fresh.createRegularFile(QVROSPath::OVERWRITE); },
                                        "Creation of regular file failed.");
    expectPathFailure<QVRECannotCreate>([&] { fresh.createDirectory(); },
                                        "could not create directory");
  });
  fs::permissions(directory / "closed", fs::perms::all);
}

TEST(QVROSPathTest, TemporaryFileIsReadWrittenAndNameless) {
  std::FILE* const stream = QVROSPath("unused").createTemparyFile();
  ASSERT_NE(stream, nullptr);
  struct stat status;
  ASSERT_EQ(fstat(fileno(stream), &status), 0);
  EXPECT_EQ(status.st_nlink, 0u);
  EXPECT_EQ(status.st_mode & 0777, 0600u);
  EXPECT_NE(fcntl(fileno(stream), F_GETFD) & FD_CLOEXEC, 0);

  char text[4] = {};
  EXPECT_EQ(std::fwrite("a\nb", 1, 3, stream), 3u);
  std::rewind(stream);
  EXPECT_EQ(std::fread(text, 1, 3, stream), 3u);
  EXPECT_STREQ(text, "a\nb");
  EXPECT_EQ(std::fclose(stream), 0);
}

}  // namespace
