// Threads where the system refuses.
#include <gtest/gtest.h>

#include <cerrno>

#include "QVREInternalError.h"
#include "QVREResourceLimit.h"
#include "QVRSysThreadBody.h"
#include "ThreadProbe.h"
#include "support/AllocationRefuser.h"
#include "support/AssertRecorder.h"
#include "support/ExpectFailure.h"
#include "support/PlatformPlan.h"
#include "support/ThreadSanitizer.h"

namespace {

constexpr char kSource[] = "QVRSystem/QVRThreadsMD.m/src/QVRSysThread";

AssertRecord assertion(const char* expression, int line) {
  return {"Assertion", expression, kSource, line};
}

using Assertions = std::vector<AssertRecord>;

/// A body whose thread could not be created.
ThreadPointer bodyWithoutThread(const char* failing = "createThread") {
  ThreadPointer body = makeThread([] {});
  const PlatformPlan plan(failing, EAGAIN);
  expectFailure<QVREResourceLimit>([&] { body->start(); }, " Thread creation failed ", kSource,
                                   360);
  return body;
}

TEST(QVRSysThreadBodyFailureTest, BodyWhoseThreadCannotBeCreatedRunsUntilJoined) {
  const ThreadPointer body = bodyWithoutThread();

  EXPECT_TRUE(body->isRunning());
  EXPECT_FALSE(body->getThreadId().isValid());
  EXPECT_EQ(body->getRunnable()->getReferences(), 2u) << "the body's, and this one";
  EXPECT_FALSE(body->join());
  EXPECT_TRUE(body->isIdle());
  EXPECT_TRUE(body->join());
  body->start();
  EXPECT_TRUE(body->join());
}

TEST(QVRSysThreadBodyFailureTest, StartMendsABodyWhoseThreadCouldNotBeCreated) {
  const ThreadPointer body = bodyWithoutThread();

  body->start();

  EXPECT_TRUE(body->getThreadId().isValid());
  EXPECT_TRUE(body->join());
}

TEST(QVRSysThreadBodyFailureTest, BodyWithoutThreadReportsAndChangesItsState) {
  const ThreadPointer body = bodyWithoutThread();
  const AssertRecorder asserts;

  EXPECT_TRUE(body->suspend());
  EXPECT_TRUE(body->isSuspended());
  body->resume();
  EXPECT_TRUE(body->isRunning());
  body->setPriority(-1);
  EXPECT_EQ(body->getPriority(), -1);
  EXPECT_FALSE(body->cancel());
  EXPECT_TRUE(body->isRunning());

  EXPECT_EQ(asserts.all(), (Assertions{assertion("ecode != -1", 411), assertion("ecode == 0", 413),
                                       assertion("ecode != -1", 443), assertion("ecode == 1", 444),
                                       assertion("result", 191)}));
}

TEST(QVRSysThreadBodyFailureTest, SuspendedBodyWithoutThreadCanBeDropped) {
  ThreadPointer body = bodyWithoutThread();
  {
    const AssertRecorder asserts;
    body->suspend();
  }

  expectFailure<QVREInternalError>(
      [&] { body.detach(); },
      " cannot join / delete a suspended thread; resume it or cancel it first ", kSource, 547);

  EXPECT_FALSE(body);
}

TEST(QVRSysThreadBodyFailureTest, RefusedPriorityIsReportedAndKept) {
  Event mayEnd;
  const ThreadPointer body = makeThread([&] { mayEnd.wait(); });
  body->start();
  {
    const AssertRecorder asserts;
    const PlatformPlan plan("setNiceValue", EPERM);
    body->setPriority(15);
    EXPECT_EQ(asserts.only(), assertion("result", 191));
  }
  EXPECT_EQ(body->getPriority(), 15);
  mayEnd.set();
  EXPECT_TRUE(body->join());
}

TEST(QVRSysThreadBodyFailureTest, RefusedPriorityOfANewThreadIsIgnored) {
  const AssertRecorder asserts;
  const PlatformPlan plan("setNiceValue", EPERM);
  const ThreadPointer body = makeThread([] {});
  body->setPriority(15);

  body->start();

  EXPECT_TRUE(body->join());
  EXPECT_TRUE(asserts.all().empty());
  EXPECT_EQ(plan.calls(), 1u);
}

TEST(QVRSysThreadBodyFailureTest, FailedWaitMakesTheBodyIdle) {
  const ThreadPointer body = makeThread([] {});
  const RunnablePointer runnable = body->getRunnable();
  body->start();
  awaitEnd(body->getThreadId());
  {
    const PlatformPlan plan("joinThread", EINVAL, 1);
    EXPECT_FALSE(body->join());
  }

  EXPECT_TRUE(body->isIdle());
  EXPECT_FALSE(body->getThreadId().isValid());
  EXPECT_EQ(runnable->getReferences(), 2u);
}

TEST(QVRSysThreadBodyFailureTest, ThreadRunsThatCannotLetTheStopSignalThrough) {
  const PlatformPlan plan("allowStops", EINVAL);
  const ThreadPointer body = makeThread([] {});

  body->start();

  EXPECT_TRUE(body->join());
}

#ifndef QVR_TEST_SANITIZES_THREADS

TEST(QVRSysThreadBodyFailureTest, BodyOfACancelledThreadKeepsItsIdentifierWhereNoneIsCreated) {
  const ThreadPointer body = makeThread([] { pause(); });
  body->start();
  const QVRSysThreadId id = body->getThreadId();
  EXPECT_TRUE(body->cancel());
  const PlatformPlan plan("createThread", EAGAIN);

  EXPECT_THROW(body->start(), QVREResourceLimit);

  EXPECT_EQ(body->getThreadId(), id);
  EXPECT_FALSE(body->join());
  EXPECT_FALSE(body->getThreadId().isValid());
}

TEST(QVRSysThreadBodyFailureTest, ThreadThatCannotBeAskedIsNotSuspended) {
  Counter counter;
  const ThreadPointer body = makeThread(std::ref(counter));
  body->start();
  counter.awaitStart();
  {
    const AssertRecorder asserts;
    const PlatformPlan plan("requestStop", EPERM);
    EXPECT_TRUE(body->suspend());
    EXPECT_TRUE(body->isSuspended());
    counter.awaitMore();
    body->resume();
    EXPECT_EQ(asserts.all(),
              (Assertions{assertion("ecode != -1", 411), assertion("ecode == 0", 413),
                          assertion("ecode == 1", 444)}));
    EXPECT_FALSE(body->cancel());
    EXPECT_TRUE(body->isRunning());
    counter.awaitMore();
  }
  EXPECT_TRUE(body->suspend());
  EXPECT_TRUE(counter.stands());
  EXPECT_TRUE(body->cancel());
}

TEST(QVRSysThreadBodyFailureTest, RequestIsRepeatedWhileTooManySignalsWait) {
  Counter counter;
  const ThreadPointer body = makeThread(std::ref(counter));
  body->start();
  counter.awaitStart();

  const PlatformPlan plan("requestStop", EAGAIN, 1);
  EXPECT_TRUE(body->suspend());

  EXPECT_TRUE(counter.stands());
  EXPECT_GE(plan.calls(), 2u);
  EXPECT_TRUE(body->cancel());
}

TEST(QVRSysThreadBodyFailureTest, ThreadIsStoppedWithoutATimerToo) {
  const PlatformPlan plan("createStopTimer", EAGAIN);
  std::atomic<long> blocks = 0;
  const ThreadPointer body = makeThread([&] {
    for (;; ++blocks) delete[] new char[static_cast<std::size_t>(1000 + blocks % 5000)];
  });
  body->start();
  while (blocks == 0) sched_yield();

  for (int i = 0; i < 20; ++i) {
    EXPECT_TRUE(body->suspend());
    delete[] new char[3000];
    body->resume();
  }

  EXPECT_TRUE(body->cancel());
  delete[] new char[3000];
}

TEST(QVRSysThreadBodyFailureTest, CancelledThreadThatCannotBeFreedCanBeCancelledAgain) {
  Counter counter;
  const ThreadPointer body = makeThread(std::ref(counter));
  const RunnablePointer runnable = body->getRunnable();
  body->start();
  counter.awaitStart();
  {
    const PlatformPlan plan("joinThread", EINVAL);
    EXPECT_FALSE(body->cancel());
    EXPECT_TRUE(body->isRunning());
  }

  EXPECT_TRUE(body->cancel());

  EXPECT_TRUE(body->isIdle());
  EXPECT_EQ(runnable->getReferences(), 2u);
}

#endif

// The first thread of the process is the one that needs it.
TEST(QVRSysThreadBodyFailureTest, NoThreadIsMadeThatCouldNotBeStopped) {
  const PlatformPlan plan("handleStops", ENOMEM);
  Event mayEnd;
  const ThreadPointer body = makeThread([&] { mayEnd.wait(); });

  try {
    body->start();
    EXPECT_EQ(plan.calls(), 0u) << "an earlier thread has seen to it";
    mayEnd.set();
    EXPECT_TRUE(body->join());
  } catch (const QVREResourceLimit& failure) {
    EXPECT_STREQ(failure.what(), " Thread creation failed ");
    EXPECT_FALSE(body->join());
  }
}

}  // namespace
