// What paths do when the system or the heap refuses.
#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <string>

#include "QVREAccessDenied.h"
#include "QVREAlreadyExists.h"
#include "QVRECannotCreate.h"
#include "QVREDoesNotExist.h"
#include "QVROSPath.h"
#include "QVROSPathChecks.h"
#include "support/AllocationRefuser.h"
#include "support/PlatformPlan.h"
#include "support/ScopedEnvironment.h"
#include "support/TemporaryDirectory.h"

namespace {

constexpr auto kOverwrite = QVROSPath::OVERWRITE;

/// A file to copy, and where to.
class QVROSPathFailureTest : public testing::Test {
 protected:
  const TemporaryDirectory directory_;
  const std::string bytes_ = std::string(100'000, 'x') + "end";
  const QVROSPath source_{directory_.makeFile("source", bytes_)};
  const QVROSPath target_{directory_ / "target"};
};

TEST_F(QVROSPathFailureTest, QueriesAreFalse) {
  const PlatformPlan access("checkAccess", EIO);
  const PlatformPlan status("readStatus", EIO);
  EXPECT_FALSE(source_.exists());
  EXPECT_FALSE(source_.isReadable());
  EXPECT_FALSE(source_.isWritable());
  EXPECT_FALSE(source_.isExecutable());
  EXPECT_FALSE(source_.isRegularFile());
  EXPECT_FALSE(QVROSPath(directory_.path()).isDirectory());
}

TEST_F(QVROSPathFailureTest, StatusThatCannotBeReadIsDenied) {
  const PlatformPlan plan("readStatus", EIO);
  const auto expectDenied = [](auto action) {
    expectPathFailure<QVREAccessDenied>(action, "Permission denied");
  };
  expectDenied([&] { source_.size(); });
  expectDenied([&] { source_.getAccessTime(); });
  expectDenied([&] { source_.getModifyTime(); });
  expectDenied([&] { source_.getStatusTime(); });
  expectDenied([&] { source_.setAccessTime(1); });
  expectDenied([&] { source_.setModifyTime(1); });
}

TEST_F(QVROSPathFailureTest, TimesThatCannotBeSetAreNotReported) {
  const PlatformPlan plan("setTimes", EPERM);
  source_.setAccessTime(1);
  source_.setModifyTime(1);
  EXPECT_EQ(plan.calls(), 2u);
}

TEST_F(QVROSPathFailureTest, CurrentDirectoryThatCannotBeTold) {
  const PlatformPlan plan("currentDirectory", EACCES);
  expectPathFailure<QVREDoesNotExist>([&] { source_.getCurrentDir(); }, " file does not exists");
  expectPathFailure<QVREAccessDenied>([] { QVROSPath("a").getFullPath(); },
                                      "Could not access file");
  expectPathFailure<QVREAccessDenied>([&] { source_.copy("a", kOverwrite); },
                                      "Could not access file");
}

TEST_F(QVROSPathFailureTest, ActionsThatTheSystemRefuses) {
  const struct {
    const char* function;
    std::function<void()> action;
    const char* text;
  } denied[] = {
      {"removeFile", [&] { source_.removeRegularFile(); },
       "Permission denied, removal of file failed"},
      {"removeFile", [&] { source_.createRegularFile(kOverwrite); },
       "Permission denied, removal of file failed"},
      {"removeDirectory", [&] { QVROSPath(directory_.path()).removeDirectory(); },
       "Removal of directory failed"},
      {"changeDirectory", [&] { source_.changeCurrentDir("/"); },
       "Failed to change current working directory"},
  };
  for (const auto& c : denied) {
    const PlatformPlan plan(c.function, EROFS);
    expectPathFailure<QVREAccessDenied>(c.action, c.text);
  }
  const struct {
    const char* function;
    std::function<void()> action;
    const char* text;
  } notCreated[] = {
      {"makeDirectory", [&] { target_.createDirectory(); }, "could not create directory"},
      {"openFile", [&] { target_.createRegularFile(kOverwrite); },
       "Creation of regular file failed."},
      {"openTemporary", [&] { target_.createTemparyFile(); }, "could not create tempary file"},
  };
  for (const auto& c : notCreated) {
    const PlatformPlan plan(c.function, ENOSPC);
    expectPathFailure<QVRECannotCreate>(c.action, c.text);
  }
}

TEST_F(QVROSPathFailureTest, FileThatAppearsMeanwhileIsNotTakenForANewOne) {
  // The check finds nothing where there is a file already.
  const PlatformPlan plan("checkAccess", ENOENT, 1);
  expectPathFailure<QVRECannotCreate>([&] { source_.createRegularFile(QVROSPath::FAIL_IF_EXISTS); },
                                      "Creation of regular file failed.");
  EXPECT_EQ(bytesOf(directory_ / "source"), bytes_);
}

TEST_F(QVROSPathFailureTest, NoDescriptorStaysOpenWhereOneFileCannotBeOpened) {
  const std::ptrdiff_t before = openDescriptors();
  for (const std::size_t call : {1u, 2u}) {
    for (const auto operation : {&QVROSPath::copy, &QVROSPath::move}) {
      const PlatformPlan plan("openFile", EMFILE, call);
      expectPathFailure<QVREAccessDenied>([&] { (source_.*operation)(target_, kOverwrite); },
                                          "Permission denied");
    }
  }
  EXPECT_EQ(openDescriptors(), before);
}

TEST_F(QVROSPathFailureTest, SourceThatCannotBeOpenedLeavesTheDestinationAlone) {
  directory_.makeFile("target", "precious");
  const PlatformPlan plan("openFile", EMFILE, 1);
  expectPathFailure<QVREAccessDenied>([&] { source_.copy(target_, kOverwrite); },
                                      "Permission denied");
  EXPECT_EQ(bytesOf(directory_ / "target"), "precious");
}

TEST_F(QVROSPathFailureTest, EveryWayOfPassingBytesTakesAllOfThem) {
  for (const int error : {EXDEV, EINVAL, ENOSYS, EOPNOTSUPP, EPERM}) {
    const PlatformPlan range("copyRange", error);
    source_.copy(target_, kOverwrite);
    EXPECT_TRUE(bytesOf(directory_ / "target") == bytes_) << error;

    const PlatformPlan send("sendRange", error);
    source_.move(target_, kOverwrite);
    EXPECT_TRUE(bytesOf(directory_ / "target") == bytes_) << error;
    EXPECT_FALSE(source_.exists());
    directory_.makeFile("source", bytes_);
  }
}

TEST_F(QVROSPathFailureTest, BytesThatCannotAllBePassedKeepTheSourceOfAMove) {
  const PlatformPlan range("copyRange", ENOSPC);
  const PlatformPlan send("sendRange", ENOSPC);
  for (const std::size_t call : {1u, 3u}) {
    const PlatformPlan pass("passBytes", ENOSPC, call);
    expectPathFailure<QVREAccessDenied>([&] { source_.move(target_, kOverwrite); },
                                        "Can not remove origonal, action was that of copy");
    EXPECT_TRUE(bytesOf(directory_ / "source") == bytes_);
  }
  const PlatformPlan pass("passBytes", ENOSPC);
  EXPECT_NO_THROW(source_.copy(target_, kOverwrite));
  EXPECT_EQ(bytesOf(directory_ / "target"), "");
}

TEST_F(QVROSPathFailureTest, BytesThatAreLostOnClosingKeepTheSourceOfAMove) {
  const PlatformPlan plan("closeFile", EDQUOT);
  EXPECT_NO_THROW(source_.copy(target_, kOverwrite));
  expectPathFailure<QVREAccessDenied>([&] { source_.move(target_, kOverwrite); },
                                      "Can not remove origonal, action was that of copy");
  EXPECT_TRUE(source_.exists());
}

TEST_F(QVROSPathFailureTest, SourceThatCannotBeRemovedStaysBesideItsCopy) {
  const PlatformPlan plan("removeFile", EPERM);
  expectPathFailure<QVREAccessDenied>([&] { source_.move(target_, kOverwrite); },
                                      "Can not remove origonal, action was that of copy");
  EXPECT_TRUE(bytesOf(directory_ / "source") == bytes_);
  EXPECT_TRUE(bytesOf(directory_ / "target") == bytes_);
}

TEST_F(QVROSPathFailureTest, SourceWhoseStatusCannotBeReadIsNoFile) {
  const PlatformPlan plan("readStatus", EIO);
  expectPathFailure<QVREAccessDenied>([&] { source_.copy(target_, kOverwrite); },
                                      "This version of copy can only copy files");
  expectPathFailure<QVREAccessDenied>([&] { source_.move(target_, kOverwrite); },
                                      "This version of move can only move files");
  expectPathFailure<QVREAccessDenied>([&] { source_.copy(source_, kOverwrite); },
                                      "Moving to same location");
}

TEST_F(QVROSPathFailureTest, CopyToANewFileAsksTheSystemNoMoreThanItsChecksNeed) {
  const PlatformPlan access("checkAccess", 0);
  const PlatformPlan status("readStatus", 0);
  const PlatformPlan directory("currentDirectory", 0);
  const PlatformPlan range("copyRange", 0);

  source_.copy(target_, kOverwrite);

  EXPECT_EQ(access.calls(), 2u);  // the source, the directory
  EXPECT_EQ(status.calls(), 2u);
  EXPECT_EQ(directory.calls(), 0u);
  EXPECT_EQ(range.calls(), 2u);  // the second finds the end
}

TEST_F(QVROSPathFailureTest, EachRefusedAllocationIsBadAllocAndChangesNothing) {
  const ScopedEnvironment home("HOME", "/a/home/that/is/too/long/for/a/short/string");
  const std::string text = "%X%\\a name too long for a short string\\and one more of them";
  const std::string part(100, 'p');
  QVROSPath path(text);
  const auto isUnchanged = [&] { EXPECT_EQ(path.getPath(), text); };

  EXPECT_GT(refuseEachAllocation([&] { path.basename(); }, isUnchanged), 0u);
  EXPECT_GT(refuseEachAllocation([&] { path.dirname(); }, isUnchanged), 0u);
  EXPECT_GT(refuseEachAllocation([&] { path.getExpandedPath(); }, isUnchanged), 0u);
  EXPECT_GT(refuseEachAllocation([&] { path.getFullPath(); }, isUnchanged), 0u);
  EXPECT_GT(refuseEachAllocation([&] { path.getCurrentDir(); }, isUnchanged), 0u);
  EXPECT_GT(refuseEachAllocation([&] { path.exists(); }, isUnchanged), 0u);
  EXPECT_GT(refuseEachAllocation([&] { QVROSPath copy(path); }, isUnchanged), 0u);
  EXPECT_GT(refuseEachAllocation([&] { path.appendPath(part); }, isUnchanged), 0u);
  path = text;
  EXPECT_GT(refuseEachAllocation([&] { QVROSPath("a") = path; }, isUnchanged), 0u);
  EXPECT_GT(refuseEachAllocation([&] { QVROSPath(text).setPath(part + part); }, isUnchanged), 0u);
}

TEST_F(QVROSPathFailureTest, EachRefusedAllocationOfAMoveKeepsTheBytes) {
  const std::ptrdiff_t before = openDescriptors();
  const auto isKept = [&] {
    EXPECT_TRUE(bytesOf(directory_ / "source") == bytes_);
    EXPECT_EQ(openDescriptors(), before);
  };
  EXPECT_GT(refuseEachAllocation([&] { source_.move(target_, kOverwrite); }, isKept), 0u);
  EXPECT_TRUE(bytesOf(directory_ / "target") == bytes_);
  EXPECT_EQ(openDescriptors(), before);
}

}  // namespace
