// Functors as something to run.
#include "QVRSysRunnableFunctorBody.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "QVRCountedPointer.h"
#include "QVREInternalError.h"
#include "QVREOutOfRange.h"
#include "RecordingBody.h"
#include "support/AddressSanitizer.h"
#include "support/AllocationRefuser.h"
#include "support/ExpectFailure.h"

struct QVRSysRunnableFunctorBodyTestAccess {
  static void* run(QVRSysRunnableFunctorBody& body) { return body._run(); }
  static QVRSysRunnableFunctorBody copyOf(const QVRSysRunnableFunctorBody& body) { return body; }
  static void assign(QVRSysRunnableFunctorBody& to, const QVRSysRunnableFunctorBody& from) {
    to = from;
  }
};

namespace {

using Access = QVRSysRunnableFunctorBodyTestAccess;
using Runnable = QVRCountedPointer<QVRSysIRunnableBody>;

constexpr char kSource[] = "QVRSystem/QVRThreadsMD.m/src/QVRSysRunnableFunctor";
constexpr int kRunLine = 89;

static_assert(!std::is_copy_constructible_v<QVRSysRunnableFunctorBody> &&
              !std::is_copy_assignable_v<QVRSysRunnableFunctorBody>);

int calls = 0;
int count() { return ++calls; }

TEST(QVRSysRunnableFunctorBodyTest, RunCallsTheFunctorAndGivesNull) {
  calls = 0;
  const Runnable runnable(new QVRSysRunnableFunctorBody(QVRMakeFunctor0(&count)));

  runnable->initialize();
  EXPECT_EQ(calls, 0);
  EXPECT_EQ(runnable->run(), nullptr);
  EXPECT_EQ(runnable->run(), nullptr);
  runnable->finalize();

  EXPECT_EQ(calls, 2);
}

TEST(QVRSysRunnableFunctorBodyTest, KeepsACopyOfTheFunctor) {
  std::string record;
  {
    const QVRFunctor0 functor(new RecordingBody(record));
    QVRSysRunnableFunctorBody runnable(functor);
    EXPECT_EQ(record, "c");
    runnable.run();
    EXPECT_EQ(record, "ci");
  }
  EXPECT_EQ(record, "cidd");
}

TEST(QVRSysRunnableFunctorBodyTest, EmptyOneDoesNothing) {
  QVRSysRunnableFunctorBody empty;
  QVRSysRunnableFunctorBody ofEmpty{QVRFunctor0()};

  EXPECT_EQ(empty.run(), nullptr);
  EXPECT_EQ(ofEmpty.run(), nullptr);
}

TEST(QVRSysRunnableFunctorBodyTest, EmptyFunctorIsAnInternalErrorInside) {
  QVRSysRunnableFunctorBody empty;

  expectFailure<QVREInternalError>([&] { Access::run(empty); },
                                   " the runnable functor has a null functor ", kSource, kRunLine);
}

TEST(QVRSysRunnableFunctorBodyTest, EmptyOneDoesNothingWithoutMemoryEither) {
  QVRSysRunnableFunctorBody empty;
  const AllocationRefuser refuser(1);

  EXPECT_EQ(empty.run(), nullptr);

  EXPECT_TRUE(refuser.hasRefused());
}

/// Anything can be thrown.
struct Unrelated {};

TEST(QVRSysRunnableFunctorBodyTest, RunDropsEveryException) {
  void (*const throwers[])() = {
      +[] { throw QVREOutOfRange(u"text", "file.cpp", 1); },
      +[] { throw std::runtime_error("text"); },
      +[] { throw std::bad_alloc(); },
      +[] { throw Unrelated(); },
      +[] { throw 5; },
      +[] { throw nullptr; },
  };
  for (const auto thrower : throwers) {
    QVRSysRunnableFunctorBody runnable(QVRMakeFunctor0(thrower));
    EXPECT_NO_THROW(EXPECT_EQ(runnable.run(), nullptr));
    EXPECT_ANY_THROW(Access::run(runnable));
    EXPECT_NO_THROW(EXPECT_EQ(runnable.run(), nullptr)) << "again";
  }
}

TEST(QVRSysRunnableFunctorBodyTest, RunDropsAnExceptionWhileAnotherIsHandled) {
  QVRSysRunnableFunctorBody runnable(QVRMakeFunctor0(+[] { throw std::logic_error("inner"); }));
  try {
    throw std::runtime_error("outer");
  } catch (const std::exception&) {
    EXPECT_EQ(runnable.run(), nullptr);
    try {
      throw;
    } catch (const std::exception& handled) {
      EXPECT_STREQ(handled.what(), "outer");
    }
  }
}

// AddressSanitizer takes frames that unwinding of the platform has left for live ones.
#if !defined(QVR_TEST_SANITIZES_ADDRESSES)
TEST(QVRSysRunnableFunctorBodyTest, PlatformsUnwindingOfAThreadGoesOn) {
  static int result;
  static bool wentOn;
  void (*const endings[])() = {
      +[] { pthread_exit(&result); },
      +[] {
        pthread_cancel(pthread_self());
        pthread_testcancel();
      },
  };
  void* const expected[] = {&result, PTHREAD_CANCELED};
  for (int i = 0; i < 2; ++i) {
    QVRSysRunnableFunctorBody runnable(QVRMakeFunctor0(endings[i]));
    wentOn = false;
    const auto run = [](void* given) -> void* {
      void* const answer = static_cast<QVRSysRunnableFunctorBody*>(given)->run();
      wentOn = true;
      return answer;
    };
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, nullptr, run, &runnable), 0);
    void* ended = nullptr;
    pthread_join(thread, &ended);

    EXPECT_EQ(ended, expected[i]);
    EXPECT_FALSE(wentOn);
  }
}
#endif

TEST(QVRSysRunnableFunctorBodyTest, ComparesAsTheFunctorsDo) {
  std::string record;
  int callees[2];
  const QVRSysRunnableFunctorBody empty;
  const QVRSysRunnableFunctorBody first(QVRFunctor0(new RecordingBody(record, &callees[0])));
  const QVRSysRunnableFunctorBody alsoFirst(QVRFunctor0(new RecordingBody(record, &callees[0])));
  const QVRSysRunnableFunctorBody second(QVRFunctor0(new RecordingBody(record, &callees[1])));

  EXPECT_TRUE(first == alsoFirst);
  EXPECT_FALSE(first == second);
  EXPECT_TRUE(first != second);
  EXPECT_TRUE(empty == QVRSysRunnableFunctorBody());
  EXPECT_TRUE(empty < first);
  EXPECT_TRUE(first < second);
  EXPECT_FALSE(second < first);
  EXPECT_FALSE(first < alsoFirst);
}

TEST(QVRSysRunnableFunctorBodyTest, CopiesTheFunctorWithinTheClass) {
  calls = 0;
  const QVRSysRunnableFunctorBody runnable(QVRMakeFunctor0(&count));
  QVRSysRunnableFunctorBody assigned;

  QVRSysRunnableFunctorBody copy = Access::copyOf(runnable);
  Access::assign(assigned, runnable);
  copy.run();
  assigned.run();

  EXPECT_EQ(calls, 2);
  EXPECT_TRUE(copy == runnable);
}

TEST(QVRSysRunnableFunctorBodyTest, LackOfMemoryComesThrough) {
  calls = 0;
  const QVRFunctor0 functor = QVRMakeFunctor0(&count);
  Runnable runnable;

  EXPECT_GE(refuseEachAllocation([&] { runnable = new QVRSysRunnableFunctorBody(functor); },
                                 [&] { EXPECT_FALSE(runnable); }),
            1u);

  runnable->run();
  EXPECT_EQ(calls, 1);
}

}  // namespace
