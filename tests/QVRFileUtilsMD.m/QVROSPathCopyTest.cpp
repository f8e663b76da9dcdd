// Copying and moving files: the bytes, the modes, and the checks in their order.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <filesystem>
#include <string>
#include <thread>

#include "QVREAccessDenied.h"
#include "QVREAlreadyExists.h"
#include "QVREDoesNotExist.h"
#include "QVROSPath.h"
#include "QVROSPathChecks.h"
#include "support/CancelledThread.h"
#include "support/OrdinaryUser.h"
#include "support/ScopedEnvironment.h"
#include "support/TemporaryDirectory.h"

namespace {

namespace fs = std::filesystem;

constexpr auto kOverwrite = QVROSPath::OVERWRITE;
constexpr auto kFailIfExists = QVROSPath::FAIL_IF_EXISTS;

/// Bytes of every value, no two blocks of which are alike.
std::string manyBytes(std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i ^ i >> 8 ^ i >> 16);
  return bytes;
}

unsigned modeOf(const std::string& path) {
  struct stat status = {};
  EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
  return status.st_mode & 07777;
}

/// The two operations, whose checks are the same.
const struct Operation {
  const char* name;
  void (QVROSPath::*run)(const QVROSPath&, QVROSPath::createMode) const;
  const char* onlyFiles;
} kOperations[] = {
    {"copy", &QVROSPath::copy, "This version of copy can only copy files"},
    {"move", &QVROSPath::move, "This version of move can only move files"},
};

// Bytes and modes

TEST(QVROSPathCopyTest, CopyTakesAllBytesAndKeepsTheSource) {
  const TemporaryDirectory directory;
  for (const std::size_t size : {0u, 1u, 4096u, 16384u, 16385u, 3u << 20}) {
    const std::string bytes = manyBytes(size);
    const std::string source = directory.makeFile("source", bytes);

    QVROSPath(source).copy(directory / "target", kOverwrite);

    EXPECT_TRUE(bytesOf(directory / "target") == bytes) << size;
    EXPECT_TRUE(bytesOf(source) == bytes) << size;
  }
}

TEST(QVROSPathCopyTest, CancelledThreadFinishesItsCopy) {
  const TemporaryDirectory directory;
  const std::string source = directory.makeFile("source", manyBytes(100'000));

  EXPECT_TRUE(finishesThoughCancelled([&] {
    QVROSPath(source).copy(directory / "target", kOverwrite);
    // Byte by byte: the system does not tell its size.
    QVROSPath("/proc/self/maps").copy(directory / "maps", kOverwrite);
  }));

  EXPECT_TRUE(bytesOf(directory / "target") == bytesOf(source));
  EXPECT_NE(bytesOf(directory / "maps"), "");
}

TEST(QVROSPathCopyTest, MoveTakesAllBytesAndTheSourceAway) {
  const TemporaryDirectory directory;
  const std::string bytes = manyBytes(100'000);
  const std::string source = directory.makeFile("source", bytes);

  QVROSPath(source).move(directory / "target", kFailIfExists);

  EXPECT_TRUE(bytesOf(directory / "target") == bytes);
  EXPECT_FALSE(fs::exists(source));
}

TEST(QVROSPathCopyTest, MoveIsACopyAndNeverARenaming) {
  const TemporaryDirectory directory;
  const std::string source = directory.makeFile("source", "bytes");
  const std::string target = directory.makeFile("target", "something longer");
  fs::create_hard_link(target, directory / "other name");

  QVROSPath(source).move(target, kOverwrite);

  EXPECT_EQ(bytesOf(directory / "other name"), "bytes");
}

TEST(QVROSPathCopyTest, LongerDestinationIsCutToTheSource) {
  const TemporaryDirectory directory;
  const std::string source = directory.makeFile("source", "ab");
  const std::string target = directory.makeFile("target", manyBytes(10'000));

  QVROSPath(source).copy(target, kOverwrite);

  EXPECT_EQ(bytesOf(target), "ab");
}

TEST(QVROSPathCopyTest, DestinationKeepsItsModeAndNeverTakesThatOfTheSource) {
  const mode_t maskBefore = umask(026);
  for (const Operation& operation : kOperations) {
    const TemporaryDirectory directory;
    const std::string first = directory.makeFile("first", "a");
    const std::string second = directory.makeFile("second", "b");
    const std::string existing = directory.makeFile("existing");
    fs::permissions(first, fs::perms(0755));
    fs::permissions(second, fs::perms(0400));
    fs::permissions(existing, fs::perms(0611));

    (QVROSPath(first).*operation.run)(existing, kOverwrite);
    (QVROSPath(second).*operation.run)(directory / "new", kOverwrite);

    EXPECT_EQ(modeOf(existing), 0611u) << operation.name;
    EXPECT_EQ(modeOf(directory / "new"), 0640u) << operation.name;
  }
  umask(maskBefore);
}

TEST(QVROSPathCopyTest, BothPathsAreExpanded) {
  const TemporaryDirectory directory;
  const ScopedEnvironment home("HOME", directory.path().c_str());
  directory.makeFile("source", "bytes");

  QVROSPath("%X%\\source").copy("%X%\\target", kOverwrite);
  QVROSPath("%X%\\target").move("%X%\\moved", kOverwrite);

  EXPECT_EQ(bytesOf(directory / "moved"), "bytes");
  EXPECT_FALSE(fs::exists(directory / "target"));
}

TEST(QVROSPathCopyTest, DestinationIsExpandedOnce) {
  const TemporaryDirectory directory;
  const ScopedEnvironment home("HOME", directory.path().c_str());
  directory.makeFile("50% of % all/source", "bytes");
  const fs::path before = fs::current_path();
  fs::current_path(directory / "50% of % all");

  QVROSPath("source").copy("target", kOverwrite);

  fs::current_path(before);
  EXPECT_EQ(bytesOf(directory / "50% of % all/target"), "bytes");
}

TEST(QVROSPathCopyTest, LinksAreFollowedButTheLinkIsWhatMoves) {
  const TemporaryDirectory directory;
  directory.makeFile("file", "bytes");
  fs::create_symlink("file", directory / "source");
  fs::create_symlink("made", directory / "dangling");

  QVROSPath(directory / "source").move(directory / "dangling", kFailIfExists);

  EXPECT_EQ(bytesOf(directory / "made"), "bytes");
  EXPECT_TRUE(fs::is_symlink(directory / "dangling"));
  EXPECT_EQ(bytesOf(directory / "file"), "bytes");
  EXPECT_FALSE(fs::exists(fs::symlink_status(directory / "source")));
}

TEST(QVROSPathCopyTest, CopiesFilesWhoseSizeTheSystemDoesNotTell) {
  const TemporaryDirectory directory;
  QVROSPath("/proc/self/limits").copy(directory / "limits", kOverwrite);
  EXPECT_NE(bytesOf(directory / "limits").find("Max open files"), std::string::npos);
}

TEST(QVROSPathCopyTest, CopiesBetweenFileSystems) {
  if (!fs::is_directory("/dev/shm")) GTEST_SKIP() << "no second file system";
  const TemporaryDirectory directory;
  const std::string bytes = manyBytes(200'000);
  const std::string source = directory.makeFile("source", bytes);
  const std::string away = "/dev/shm/qvr-" + std::to_string(getpid());

  QVROSPath(source).move(away, kFailIfExists);
  EXPECT_TRUE(bytesOf(away) == bytes);
  EXPECT_FALSE(fs::exists(source));
  QVROSPath(away).move(source, kFailIfExists);
  EXPECT_TRUE(bytesOf(source) == bytes);
  EXPECT_FALSE(fs::exists(away));
}

TEST(QVROSPathCopyTest, DevicesTakeTheBytes) {
  const TemporaryDirectory directory;
  const std::string source = directory.makeFile("source", "bytes");
  // A link, for not everybody may write to the directory of devices.
  fs::create_symlink("/dev/null", directory / "null");

  QVROSPath(source).copy(directory / "null", kOverwrite);

  EXPECT_EQ(bytesOf(source), "bytes");
}

TEST(QVROSPathCopyTest, FifoPassesTheBytesToItsReader) {
  const TemporaryDirectory directory;
  const std::string bytes = manyBytes(200'000);
  const std::string source = directory.makeFile("source", bytes);
  const std::string fifo = directory / "fifo";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  std::string read;
  std::thread reader([&] { read = bytesOf(fifo); });

  QVROSPath(source).copy(fifo, kOverwrite);

  reader.join();
  EXPECT_TRUE(read == bytes);
}

TEST(QVROSPathCopyTest, WriteErrorsAreNotReportedByCopyAndKeepTheSourceOfMove) {
  if (!QVROSPath("/dev/full").isWritable()) GTEST_SKIP() << "no device that is full";
  const TemporaryDirectory directory;
  const std::string source = directory.makeFile("source", "bytes");
  const std::string full = directory / "full";
  fs::create_symlink("/dev/full", full);

  EXPECT_NO_THROW(QVROSPath(source).copy(full, kOverwrite));
  expectPathFailure<QVREAccessDenied>([&] { QVROSPath(source).move(full, kOverwrite); },
                                      "Can not remove origonal, action was that of copy");
  EXPECT_EQ(bytesOf(source), "bytes");
}

TEST(QVROSPathCopyTest, NoDescriptorStaysOpen) {
  const TemporaryDirectory directory;
  const std::string source = directory.makeFile("source", "bytes");
  const std::ptrdiff_t before = openDescriptors();

  QVROSPath(source).copy(directory / "target", kOverwrite);
  QVROSPath(directory / "target").move(directory / "moved", kOverwrite);
  expectPathFailure<QVREAccessDenied>(
      [&] { QVROSPath(source).copy(directory / std::string(300, 'n'), kOverwrite); },
      "Permission denied");

  EXPECT_EQ(openDescriptors(), before);
}

// The checks

/// Runs an operation and expects it to fail.
template <class Exception>
void expectRefusal(const Operation& operation, const QVROSPath& from, const QVROSPath& to,
                   const char* text, int mode = QVROSPath::OVERWRITE) {
  SCOPED_TRACE(operation.name);
  expectPathFailure<Exception>(
      [&] { (from.*operation.run)(to, static_cast<QVROSPath::createMode>(mode)); }, text);
}

TEST(QVROSPathCopyTest, EachCheckHasItsFailure) {
  const TemporaryDirectory directory;
  const std::string file = directory.makeFile("file", "bytes");
  const std::string other = directory.makeFile("other");
  const std::string sub = directory.makeDirectory("sub");
  const std::string target = directory / "target";
  for (const Operation& o : kOperations) {
    expectRefusal<QVREAccessDenied>(o, file, "", "Could not access file");
    expectRefusal<QVREDoesNotExist>(o, directory / "absent", target, "The file does not exist");
    expectRefusal<QVREAccessDenied>(o, file, file, "Moving to same location");
    expectRefusal<QVREDoesNotExist>(o, file, directory / "absent/x",
                                    "Destionation directory does not exist");
    expectRefusal<QVREAlreadyExists>(o, file, other, "Destination file already exists", 1);
    expectRefusal<QVREAlreadyExists>(o, file, sub, "Destination file already exists", 1);
    expectRefusal<QVREAccessDenied>(o, sub, target, o.onlyFiles);
    expectRefusal<QVREAccessDenied>(o, "/dev/null", target, o.onlyFiles);
    expectRefusal<QVREAccessDenied>(o, file, sub, "Permission denied");
  }
  EXPECT_EQ(bytesOf(file), "bytes");
  EXPECT_EQ(bytesOf(other), "");
  EXPECT_FALSE(fs::exists(target));
}

TEST(QVROSPathCopyTest, EachRightThatIsMissingHasItsFailure) {
  const TemporaryDirectory directory;
  fs::permissions(directory.path(), fs::perms::all);
  const std::string file = directory.makeFile("file", "bytes");
  const std::string secret = directory.makeFile("secret");
  const std::string fixed = directory.makeFile("fixed");
  const std::string closed = directory.makeFile("closed/file", "bytes");
  fs::permissions(file, fs::perms(0444));
  fs::permissions(secret, fs::perms::none);
  fs::permissions(fixed, fs::perms(0444));
  fs::permissions(closed, fs::perms(0666));
  fs::permissions(directory / "closed", fs::perms(0555));

  asOrdinaryUser([&] {
    for (const Operation& o : kOperations) {
      expectRefusal<QVREAccessDenied>(o, secret, directory / "x",
                                      "Permission denied, can not read source file");
      expectRefusal<QVREAccessDenied>(o, file, directory / "closed/x",
                                      "Permission denied, can not write to destination directory");
      expectRefusal<QVREAccessDenied>(o, file, closed,
                                      "Permission denied, can not write to destination directory");
      expectRefusal<QVREAccessDenied>(o, file, fixed,
                                      "Permission denied, can not write to destination file");
    }
    expectRefusal<QVREAccessDenied>(kOperations[1], closed, directory / "moved",
                                    "Can not remove origonal, action was that of copy");
    EXPECT_EQ(bytesOf(directory / "moved"), "bytes");
    EXPECT_EQ(bytesOf(closed), "bytes");
    EXPECT_FALSE(fs::exists(directory / "x"));
  });
  fs::permissions(directory / "closed", fs::perms::all);
}

TEST(QVROSPathCopyTest, TheFirstCheckThatFailsThrows) {
  const TemporaryDirectory directory;
  const std::string file = directory.makeFile("file");
  const std::string other = directory.makeFile("other");
  const std::string sub = directory.makeDirectory("sub");
  const std::string absent = directory / "absent";
  for (const Operation& o : kOperations) {
    expectRefusal<QVREAccessDenied>(o, absent, "", "Could not access file");
    expectRefusal<QVREDoesNotExist>(o, absent, absent, "The file does not exist");
    expectRefusal<QVREDoesNotExist>(o, absent, absent + "/x", "The file does not exist");
    expectRefusal<QVREAccessDenied>(o, file, file, "Moving to same location", 1);
    expectRefusal<QVREAccessDenied>(o, sub, sub, "Moving to same location", 1);
    expectRefusal<QVREDoesNotExist>(o, sub, absent + "/x", "Destionation directory does not exist");
    expectRefusal<QVREAlreadyExists>(o, sub, other, "Destination file already exists", 1);
  }
}

TEST(QVROSPathCopyTest, TheFirstRightThatIsMissingThrows) {
  const TemporaryDirectory directory;
  fs::permissions(directory.path(), fs::perms::all);
  const std::string secret = directory.makeFile("secret");
  const std::string fixed = directory.makeFile("fixed");
  const std::string closed = directory.makeFile("closed/file");
  const std::string sub = directory.makeDirectory("sub");
  fs::permissions(secret, fs::perms::none);
  fs::permissions(fixed, fs::perms(0444));
  fs::permissions(closed, fs::perms(0444));
  fs::permissions(directory / "closed", fs::perms(0555));

  asOrdinaryUser([&] {
    for (const Operation& o : kOperations) {
      expectRefusal<QVREAccessDenied>(o, secret, secret,
                                      "Permission denied, can not read source file");
      expectRefusal<QVREAccessDenied>(o, secret, directory / "absent/x",
                                      "Permission denied, can not read source file");
      expectRefusal<QVREAccessDenied>(
          o, fixed, closed, "Permission denied, can not write to destination directory", 1);
      expectRefusal<QVREAlreadyExists>(o, sub, fixed, "Destination file already exists", 1);
      expectRefusal<QVREAccessDenied>(o, sub, fixed,
                                      "Permission denied, can not write to destination file");
    }
  });
  fs::permissions(directory / "closed", fs::perms::all);
}

TEST(QVROSPathCopyTest, OnlyModeOneRefusesAnExistingDestination) {
  const TemporaryDirectory directory;
  const QVROSPath source(directory.makeFile("source", "new"));
  for (const int mode : {0, 2, -1}) {
    const std::string target = directory.makeFile("target", "old");
    source.copy(target, static_cast<QVROSPath::createMode>(mode));
    EXPECT_EQ(bytesOf(target), "new") << mode;
  }
}

TEST(QVROSPathCopyTest, EveryNameOfTheSourceIsTheSameLocation) {
  const TemporaryDirectory directory;
  const std::string file = directory.makeFile("sub/file", "bytes");
  fs::create_symlink("file", directory / "sub/link");
  fs::create_hard_link(file, directory / "hard link");
  fs::create_directory_symlink("sub", directory / "other sub");
  const fs::path before = fs::current_path();
  fs::current_path(directory / "sub");

  for (const char* const name : {"file", "./file", "../sub/file", "absent/../file", "link",
                                 "../hard link", "../other sub/file", "../other sub/link"}) {
    for (const Operation& o : kOperations) {
      SCOPED_TRACE(name);
      expectRefusal<QVREAccessDenied>(o, file, name, "Moving to same location");
      if (fs::exists(name)) {
        expectRefusal<QVREAccessDenied>(o, name, file, "Moving to same location");
      }
    }
  }
  fs::current_path(before);
  EXPECT_EQ(bytesOf(file), "bytes");
}

TEST(QVROSPathCopyTest, FullPathsAreComparedAsTexts) {
  const TemporaryDirectory directory;
  directory.makeFile("elsewhere/file", "bytes");
  directory.makeDirectory("elsewhere/sub");
  directory.makeDirectory("here");
  fs::create_directory_symlink("../elsewhere/sub", directory / "here/link");

  // The system finds elsewhere/file; as a text it is here/file.
  expectRefusal<QVREAccessDenied>(kOperations[0], directory / "here/link/../file",
                                  directory / "here/file", "Moving to same location");
}

TEST(QVROSPathCopyTest, TextsWithAZeroByteNameNothing) {
  const TemporaryDirectory directory;
  const std::string file = directory.makeFile("file", "bytes");
  const std::string zero(1, '\0');
  for (const Operation& o : kOperations) {
    expectRefusal<QVREDoesNotExist>(o, file + zero, directory / "x", "The file does not exist");
    expectRefusal<QVREDoesNotExist>(o, file, directory.path() + zero + "/x",
                                    "Destionation directory does not exist");
    expectRefusal<QVREAccessDenied>(o, file, directory / "x" + zero, "Permission denied");
  }
  EXPECT_EQ(bytesOf(file), "bytes");
}

}  // namespace
