// Files that are opened below a stream buffer.
#include "QVROSRegularFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

#include "QVREOpenFailed.h"
#include "support/ExpectFailure.h"
#include "support/OrdinaryUser.h"
#include "support/ScopedEnvironment.h"
#include "support/TemporaryDirectory.h"

namespace {

using Mode = std::ios_base;

constexpr const char* kSource = "QVRSystem/QVRFileUtilsMD.m/src/QVROSRegularFile";
constexpr const char* kNoDirectory = "The directory for the file does not exist";
constexpr const char* kNoFile = "Failed to open stream buffer for file";

template <class Action>
void expectOpenFailure(Action action, const char* text) {
  expectFailure<QVREOpenFailed>(action, text, kSource);
}

std::string bytesOf(const std::string& path) {
  std::ostringstream bytes;
  std::ifstream file(path, std::ios_base::binary);
  EXPECT_TRUE(file.is_open()) << path;
  if (file.peek() != std::ifstream::traits_type::eof()) bytes << file.rdbuf();
  return bytes.str();
}

void write(QVROSRegularFile& file, const char* text) {
  std::ostream out(file.getBuffer());
  out << text;
  EXPECT_TRUE(out);
}

TEST(QVROSRegularFileTest, IsClosedAtFirst) {
  QVROSRegularFile file;

  EXPECT_FALSE(file.isOpen());
  EXPECT_FALSE(file.getBuffer()->is_open());
  EXPECT_EQ(file.getPath(), ".");
  file.close();
  EXPECT_FALSE(file.isOpen());
}

TEST(QVROSRegularFileTest, StreamsReachTheFile) {
  const TemporaryDirectory place;
  QVROSRegularFile file(place / "f", Mode::out);
  EXPECT_TRUE(file.isOpen());

  std::ostream first(file.getBuffer());
  std::ostream second(file);
  first << "ab";
  second << "cd";
  file.close();

  EXPECT_FALSE(file.isOpen());
  EXPECT_EQ(bytesOf(place / "f"), "abcd");
}

TEST(QVROSRegularFileTest, BufferIsTheSameWhateverIsOpen) {
  const TemporaryDirectory place;
  QVROSRegularFile file;
  std::filebuf* const buffer = file.getBuffer();

  file.open(place.makeFile("f"), Mode::in);
  EXPECT_EQ(file.getBuffer(), buffer);
  EXPECT_EQ(static_cast<std::streambuf*>(file), buffer);

  file.close();
  EXPECT_EQ(file.getBuffer(), buffer);
}

TEST(QVROSRegularFileTest, ModesAreThoseOfAStream) {
  const struct {
    int mode;
    bool opensAbsent;
    const char* bytes;  // of a file that held "old", after "new" was written
  } cases[] = {
      {Mode::in, false, "old"},
      {Mode::in | Mode::binary, false, "old"},
      {Mode::in | Mode::ate, false, "old"},
      {Mode::out, true, "new"},
      {Mode::out | Mode::trunc, true, "new"},
      {Mode::out | Mode::binary | Mode::ate, true, "new"},
      {Mode::app, true, "oldnew"},
      {Mode::out | Mode::app, true, "oldnew"},
      {Mode::in | Mode::app, true, "oldnew"},
      {Mode::in | Mode::out, false, "new"},
      {Mode::in | Mode::out | Mode::ate, false, "oldnew"},
      {Mode::in | Mode::out | Mode::trunc, true, "new"},
  };
  for (const auto& c : cases) {
    const TemporaryDirectory place;
    const auto openAbsent = [&] { QVROSRegularFile(place / "absent", c.mode); };
    if (c.opensAbsent) {
      openAbsent();
      EXPECT_EQ(bytesOf(place / "absent"), "") << c.mode;
    } else {
      expectOpenFailure(openAbsent, kNoFile);
      EXPECT_FALSE(std::filesystem::exists(place / "absent")) << c.mode;
    }
    QVROSRegularFile file(place.makeFile("f", "old"), c.mode);
    std::ostream(file.getBuffer()) << "new";
    file.close();
    EXPECT_EQ(bytesOf(place / "f"), c.bytes) << c.mode;
  }
}

TEST(QVROSRegularFileTest, CombinationsThatNoStreamKnowsDoNotOpen) {
  const TemporaryDirectory place;
  const std::string path = place.makeFile("f", "old");
  const int modes[] = {0, Mode::trunc, Mode::in | Mode::trunc, Mode::out | Mode::app | Mode::trunc};
  for (const int mode : modes) {
    expectOpenFailure([&] { QVROSRegularFile(path, mode); }, kNoFile);
  }
  EXPECT_EQ(bytesOf(path), "old");
}

TEST(QVROSRegularFileTest, WhatIsWrittenIsReadByOthersMeanwhile) {
  const TemporaryDirectory place;
  QVROSRegularFile writer(place / "f", Mode::out);
  QVROSRegularFile reader(place / "f", Mode::in);
  QVROSRegularFile other(place / "f", Mode::app);

  write(writer, "ab");
  writer.getBuffer()->pubsync();
  write(other, "cd");
  other.close();

  std::string text;
  std::istream(reader.getBuffer()) >> text;
  EXPECT_EQ(text, "abcd");
}

TEST(QVROSRegularFileTest, NewFileHasModeLessTheUmask) {
  const TemporaryDirectory place;
  const mode_t before = umask(027);

  QVROSRegularFile file(place / "f", Mode::out);

  umask(before);
  EXPECT_EQ(std::filesystem::status(place / "f").permissions(), std::filesystem::perms(0640));
}

TEST(QVROSRegularFileTest, MissingDirectoryIsNamedFirst) {
  const TemporaryDirectory place;
  for (const int mode : {int{Mode::in}, int{Mode::out}, 0}) {
    QVROSRegularFile file;
    expectOpenFailure([&] { file.open(place / "absent/f", mode); }, kNoDirectory);
    EXPECT_FALSE(file.isOpen());
    EXPECT_EQ(file.getPath(), QVROSPath(place / "absent/f"));
  }
  expectOpenFailure([&] { QVROSRegularFile(place / "absent/f", Mode::out); }, kNoDirectory);
  EXPECT_FALSE(std::filesystem::exists(place / "absent"));
}

TEST(QVROSRegularFileTest, FailureClosesTheFileThatWasOpen) {
  const TemporaryDirectory place;
  for (const char* name : {"absent/f", "absent", "."}) {
    QVROSRegularFile file(place / "f", Mode::out);
    write(file, "ab");

    EXPECT_THROW(file.open(place / name, Mode::in | Mode::out), QVREOpenFailed);

    EXPECT_FALSE(file.isOpen());
    EXPECT_EQ(file.getPath(), QVROSPath(place / name));
    EXPECT_EQ(bytesOf(place / "f"), "ab");
  }
}

TEST(QVROSRegularFileTest, OpenClosesTheFileThatIsOpen) {
  const TemporaryDirectory place;
  QVROSRegularFile file(place / "first", Mode::out);
  write(file, "ab");

  file.open(place / "second", Mode::out);
  EXPECT_EQ(bytesOf(place / "first"), "ab");
  write(file, "cd");
  file.open(place / "second", Mode::in);

  std::string text;
  std::istream(file.getBuffer()) >> text;
  EXPECT_EQ(text, "cd");
}

TEST(QVROSRegularFileTest, DestructorClosesTheFile) {
  const TemporaryDirectory place;
  {
    QVROSRegularFile file(place / "f", Mode::out);
    write(file, "ab");
  }
  EXPECT_EQ(bytesOf(place / "f"), "ab");
}

TEST(QVROSRegularFileTest, BareNameIsOfTheCurrentDirectory) {
  const TemporaryDirectory place;
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(place.path());

  QVROSRegularFile("f", Mode::out);
  QVROSRegularFile(".\\g", Mode::out);

  std::filesystem::current_path(before);
  EXPECT_EQ(bytesOf(place / "f"), "");
  EXPECT_EQ(bytesOf(place / "g"), "");
}

TEST(QVROSRegularFileTest, ExpandedPathIsOpenedAndTheOneGivenKept) {
  const TemporaryDirectory place;
  const ScopedEnvironment home("HOME", place.path().c_str());

  QVROSRegularFile file("%ANY%/f", Mode::out);

  EXPECT_EQ(file.getPath(), "%ANY%\\f");
  EXPECT_EQ(bytesOf(place / "f"), "");
}

TEST(QVROSRegularFileTest, NamesThatLookLikeVariablesBehindExpansionAreNotExpandedAgain) {
  const TemporaryDirectory place;
  place.makeDirectory("%a%");
  const ScopedEnvironment home("HOME", (place / "%a%").c_str());

  QVROSRegularFile("%ANY%/f", Mode::out);

  EXPECT_EQ(bytesOf(place / "%a%/f"), "");
}

TEST(QVROSRegularFileTest, WhatHoldsAZeroByteIsAbsent) {
  const TemporaryDirectory place;
  place.makeFile("d/f");
  const std::string zero(1, '\0');

  expectOpenFailure([&] { QVROSRegularFile(place / "d" + zero + "/f", Mode::in); }, kNoDirectory);
  expectOpenFailure([&] { QVROSRegularFile(place / "d/f" + zero, Mode::in); }, kNoFile);
  expectOpenFailure([&] { QVROSRegularFile(place / "d/g" + zero, Mode::out); }, kNoFile);
  EXPECT_FALSE(std::filesystem::exists(place / "d/g"));
}

TEST(QVROSRegularFileTest, OddPaths) {
  const TemporaryDirectory place;
  place.makeFile("f");
  const struct {
    std::string path;
    const char* text;
  } cases[] = {
      {"", kNoFile},
      {place.path(), kNoFile},
      {place / "f/", kNoFile},
      // A file stands where the directory should; something exists there.
      {place / "f/g", kNoFile},
      {place / "f/g/h", kNoDirectory},
  };
  for (const auto& c : cases) {
    expectOpenFailure([&] { QVROSRegularFile(c.path, Mode::out); }, c.text);
  }
}

TEST(QVROSRegularFileTest, WhatMayNotBeReadDoesNotOpen) {
  const TemporaryDirectory place;
  const std::string path = place.makeFile("f");
  std::filesystem::permissions(place.path(), std::filesystem::perms(0755));
  std::filesystem::permissions(path, std::filesystem::perms(0));

  asOrdinaryUser([&] { expectOpenFailure([&] { QVROSRegularFile(path, Mode::in); }, kNoFile); });
}

TEST(QVROSRegularFileTest, ComparisonsGoByThePathTexts) {
  const TemporaryDirectory place;
  const std::string path = place.makeFile("f");
  const QVROSRegularFile a(path, Mode::in);
  const QVROSRegularFile same(path, Mode::app);
  const QVROSRegularFile other(place / "./f", Mode::in);

  EXPECT_TRUE(a == same);
  EXPECT_FALSE(a != same);
  EXPECT_FALSE(a < same);
  EXPECT_FALSE(a == other);
  EXPECT_TRUE(a != other);
  EXPECT_TRUE(a < other);
  EXPECT_TRUE(other < a);
}

}  // namespace
