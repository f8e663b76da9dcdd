// Exceptions while memory is short, or while their thread is being ended.
#include <gtest/gtest.h>
#include <pthread.h>

#include <memory>
#include <new>
#include <string>

#include "QVRAssert.h"
#include "QVREOutOfRange.h"
#include "QVRLocale.h"
#include "support/AllocationRefuser.h"
#include "support/AssertRecorder.h"

namespace {

constexpr char kWhatOutOfMemory[] = "Cannot construct what string: out of memory";
constexpr char kWhereOutOfMemory[] = "Cannot construct where string: out of memory";

// Longer than a text keeps within itself.
constexpr char kFile[] = "a/source/file/of/some/length.cc";
constexpr wchar16 kText[] = u"A text that needs memory of its own: %1";
constexpr char kWhat[] = "A text that needs memory of its own: and an argument that does, too";

QVREOutOfRange makeError() {
  QVREOutOfRange error(kText, kFile, 42);
  error << "and an argument that does, too";
  return error;
}

/// Throws what is no lack of memory where memory is short.
class ForeignNewHandler {
 public:
  ForeignNewHandler() : before_(std::set_new_handler([] { throw 7; })) {}
  ~ForeignNewHandler() { std::set_new_handler(before_); }

  ForeignNewHandler(const ForeignNewHandler&) = delete;
  ForeignNewHandler& operator=(const ForeignNewHandler&) = delete;

 private:
  const std::new_handler before_;
};

TEST(QVRExceptionFailureTest, ConstructorAndCopyFailWithBadAlloc) {
  EXPECT_GT(refuseEachAllocation([] { makeError(); }), 0u);

  const QVREOutOfRange error = makeError();
  EXPECT_GT(refuseEachAllocation([&] { QVREOutOfRange copy(error); }), 0u);
}

TEST(QVRExceptionFailureTest, WhatSaysThatMemoryIsShortAndTriesAgain) {
  QVRLocale::global();
  for (std::size_t number = 1;; ++number) {
    const QVREOutOfRange error = makeError();
    bool refused = false;
    {
      const AllocationRefuser refuser(number);
      const char* const what = error.what();
      refused = refuser.hasRefused();
      EXPECT_STREQ(what, refused ? kWhatOutOfMemory : kWhat) << number;
    }
    EXPECT_STREQ(error.what(), kWhat);
    if (!refused) {
      EXPECT_GT(number, 1u);
      break;
    }
  }
}

TEST(QVRExceptionFailureTest, LongTextNeedsABufferFromTheHeap) {
  QVRLocale::global();
  const auto allocationsOfWhat = [](std::size_t length) {
    const QVREOutOfRange error(std::u16string(length, u'x').c_str(), kFile, 42);
    const AllocationRefuser counter(0);
    error.what();
    return counter.count();
  };

  EXPECT_EQ(allocationsOfWhat(205), allocationsOfWhat(204) + 1);
}

TEST(QVRExceptionFailureTest, WhereSaysThatMemoryIsShortAndTriesAgain) {
  for (std::size_t number = 1;; ++number) {
    const QVREOutOfRange error = makeError();
    const AllocationRefuser refuser(number);
    const char* const where = error.where();
    if (!refuser.hasRefused()) {
      EXPECT_STREQ(where, "a/source/file/of/some/length.cc(42)");
      EXPECT_GT(number, 1u);
      break;
    }
    EXPECT_STREQ(where, kWhereOutOfMemory) << number;
    EXPECT_STREQ(error.where(), "a/source/file/of/some/length.cc(42)");
  }
}

TEST(QVRExceptionFailureTest, AnyOtherFailureOfWhereIsReportedAndGivesNoText) {
  const QVREOutOfRange error = makeError();
  {
    const AssertRecorder asserts;
    const ForeignNewHandler handler;
    const char* where = "";
    {
      const AllocationRefuser refuser(1);
      where = error.where();
    }
    EXPECT_EQ(where, nullptr);
    const AssertRecord expected{"Program error", "Unexpected exception",
                                "QVRSystem/QVRErrorMD.m/src/QVRException", 205};
    EXPECT_EQ(asserts.only(), expected);
  }
  EXPECT_STREQ(error.where(), "a/source/file/of/some/length.cc(42)");
}

TEST(QVRExceptionFailureTest, CloneIsNullOnlyWhereItsOwnStorageCannotBeHad) {
  const QVREOutOfRange error = makeError();
  {
    const AllocationRefuser refuser(1);
    EXPECT_EQ(error.clone(), nullptr);
  }
  std::size_t number = 2;
  for (;; ++number) {
    const AllocationRefuser refuser(number);
    std::unique_ptr<QVRMsgData> clone;
    bool thrown = false;
    try {
      clone.reset(error.clone());
    } catch (const std::bad_alloc&) {
      thrown = true;
    }
    EXPECT_EQ(thrown, refuser.hasRefused()) << number;
    EXPECT_NE(thrown, clone != nullptr) << number;
    if (!thrown) break;
  }
  EXPECT_GT(number, 2u);
}

TEST(QVRExceptionFailureTest, AssignmentThatFailsChangesNothing) {
  const QVREOutOfRange from = makeError();
  from.what();
  from.where();
  QVREOutOfRange to(u"target %1", "target.cc", 7);
  to << 1;

  EXPECT_GT(refuseEachAllocation([&] { to = from; },
                                 [&] {
                                   EXPECT_STREQ(QVREOutOfRange(to).what(), "target 1");
                                   EXPECT_STREQ(QVREOutOfRange(to).where(), "target.cc(7)");
                                 }),
            0u);
  EXPECT_STREQ(to.what(), kWhat);
}

/// An argument that is a point of cancellation while it is rendered.
class CancellationPointMsg : public QVRMsgData {
 public:
  QVRMsgData* clone() const override { return new CancellationPointMsg(*this); }
  std::u16string scribe(const QVRLocale&) const override {
    pthread_testcancel();
    return u"rendered";
  }
};

TEST(QVRExceptionFailureTest, CancellationWaitsUntilWhatReturns) {
  static std::string what;
  what.clear();
  pthread_t thread;
  const auto run = [](void*) -> void* {
    QVREOutOfRange error(u"%1", kFile, 42);
    error.append(CancellationPointMsg());
    pthread_cancel(pthread_self());
    what = error.what();
    pthread_testcancel();
    return nullptr;
  };

  ASSERT_EQ(pthread_create(&thread, nullptr, run, nullptr), 0);
  void* result = nullptr;
  pthread_join(thread, &result);

  EXPECT_EQ(what, "rendered");
  EXPECT_EQ(result, PTHREAD_CANCELED);
}

// AddressSanitizer takes frames that a cancellation has unwound for live ones.
#if !defined(__SANITIZE_ADDRESS__)
/// Ends its thread while a failure is reported.
void endThread(const char*, const char*, const char*, int) {
  pthread_cancel(pthread_self());
  pthread_testcancel();
}

TEST(QVRExceptionFailureTest, ThreadCancelledWhileWhereReportsEnds) {
  pthread_t thread;
  const auto run = [](void*) -> void* {
    const QVREOutOfRange error = makeError();
    const ForeignNewHandler handler;
    const AllocationRefuser refuser(1);
    error.where();
    return nullptr;
  };
  const QVRAssertHandler before = QVRSetAssertHandler(&endThread);

  ASSERT_EQ(pthread_create(&thread, nullptr, run, nullptr), 0);
  void* result = nullptr;
  pthread_join(thread, &result);
  QVRSetAssertHandler(before);

  EXPECT_EQ(result, PTHREAD_CANCELED);
}
#endif

}  // namespace
