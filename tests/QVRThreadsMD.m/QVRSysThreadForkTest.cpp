// Forks of processes that have threads of the library.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <vector>

#include "QVREInternalError.h"
#include "QVRLocale.h"
#include "QVRSysDateTime.h"
#include "QVRSysMutexLock.h"
#include "ThreadStopping.h"
#include "support/AddressSanitizer.h"
#include "support/AssertRecorder.h"

namespace {

void trace() {
  QVRSystemTrace.acquireLock();
  QVRSystemTrace.write(QVRTraceLevelInfo, __FILE__, __LINE__) << " text\n";
  QVRSystemTrace.releaseLock();
}

void throwAndCatch() {
  try {
    throw QVRELogicError(u"text", "source", 1);
  } catch (const QVRELogicError& failure) {
    failure.what();
  }
}

void usePool() {
  auto& pool = QVRPoolAllocator::Global();
  pool.deallocate(pool.allocate(24), 24);
}

/// Makes an orphan of the mutex.
void closeHeldMutex() {
  // Not on the stack: the caller may be cancelled, and the holder go on.
  auto* const mutex = new QVRSysMutexLock;
  const StoppedThread holder([mutex] {
    mutex->acquire();
    for (;;) pause();
  });
  holder.awaitSleep();
  delete mutex;
}

void startAndJoin() {
  const ThreadPointer body = makeThread([] {});
  body->start();
  body->join();
}

void cancelThread() {
  const StoppedThread thread([] {
    for (;;) pause();
  });
}

/// Services of the library, each with locks of its own.
std::vector<std::function<void()>> services() {
  return {&trace,
          &throwAndCatch,
          &usePool,
          &closeHeldMutex,
          &startAndJoin,
          &cancelThread,
          [] { QVRSystemTrace.setLevel(QVRTraceLevelDebug); },
          [] { QVRTraceLog::SetDefaultLevel(QVRTraceLevelUnspec); },
          [] { QVRSysDateTime::Now(); },
          [] { QVRLocale::global(); },
          [] { QVRSysThreadAttribute::Default(); }};
}

void useAll() {
  for (const auto& service : services()) service();
}

// The sanitizer's heap has no handlers for forks.
#ifndef QVR_TEST_SANITIZES_ADDRESSES

TEST(QVRSysThreadForkTest, ChildUsesEveryServiceThatOtherThreadsAreInside) {
  constexpr int kForks = 20;
  for (const auto& service : services()) {
    const StoppedThread user([&] {
      for (;;) service();
    });
    for (int i = 0; i < kForks; ++i) {
      ASSERT_EQ(exitStatusOfFork([] {
                  useAll();
                  return 0;
                }),
                0);
    }
  }
}

#endif

TEST(QVRSysThreadForkTest, ChildOfAThreadGoesOnAsThatThread) {
  ThreadPointer body;
  std::atomic<int> status = -1;
  body = makeThread([&] {
    const QVRSysThreadId before = QVRSysGetThreadId();
    status = exitStatusOfFork([&] {
      if (!body->isRunning() || body->join()) return 1;
      if (body->getThreadId() != QVRSysGetThreadId()) return 2;
      if (body->getThreadId() == before) return 3;
      useAll();
      return 0;
    });
  });

  body->start();

  EXPECT_TRUE(body->join());
  EXPECT_EQ(status, 0);
}

TEST(QVRSysThreadForkTest, ChildOfASuspendedThreadIsNotSuspended) {
  ThreadPointer body;
  Event forks;
  std::atomic<bool> isAsked = false;
  int status = -1;
  body = makeThread([&] {
    forks.set();
    for (int i = 0; status != 0 && i < 100; ++i) status = exitStatusOfFork([] { return 0; });
    while (!isAsked) sched_yield();
  });
  body->start();
  forks.wait();
  for (int i = 0; i < 100; ++i) {
    body->suspend();
    body->resume();
  }
  isAsked = true;

  EXPECT_TRUE(body->join());

  EXPECT_EQ(status, 0);
}

/// What a child says of a body whose thread its parent has.
int childOf(const std::function<bool(QVRSysThreadBody& body)>& isRight, bool isSuspended) {
  const StoppedThread thread([] {
    for (;;) pause();
  });
  thread.awaitSleep();
  if (isSuspended) thread->suspend();
  return exitStatusOfFork([&] { return isRight(*thread.operator->()) ? 0 : 1; });
}

TEST(QVRSysThreadForkTest, ThreadsOfTheParentAloneAreNotThereInTheChild) {
  const auto joins = [](QVRSysThreadBody& body) {
    return !body.join() && body.isIdle() && !body.getThreadId().isValid();
  };
  const auto cancels = [](QVRSysThreadBody& body) { return body.cancel() && body.isIdle(); };
  const auto startsAnew = [](QVRSysThreadBody& body) {
    body.cancel();
    body.setRunnable(new ProbeRunnable([] {}));
    body.start();
    return body.join();
  };
  const auto reports = [](QVRSysThreadBody& body) {
    const AssertRecorder asserts;
    if (body.isRunning()) body.suspend();
    body.resume();
    body.setPriority(-1);
    return body.isRunning() && asserts.all().size() >= 3;
  };
  for (const bool isSuspended : {false, true}) {
    EXPECT_EQ(childOf(cancels, isSuspended), 0);
    EXPECT_EQ(childOf(startsAnew, isSuspended), 0);
    EXPECT_EQ(childOf(reports, isSuspended), 0);
  }
  EXPECT_EQ(childOf(joins, false), 0);
}

TEST(QVRSysThreadForkTest, ChildDropsBodiesOfItsParentsThreads) {
  Event mayEnd;
  ThreadPointer joinable = makeThread([&] { mayEnd.wait(); });
  ThreadPointer detached = makeThread([] { pause(); }, detachedAttribute());
  ThreadPointer suspended = makeThread([&] { pause(); });
  for (const auto& body : {joinable, detached, suspended}) body->start();
  awaitSleep(suspended->getThreadId());
  suspended->suspend();

  const int status = exitStatusOfFork([&] {
    joinable.detach();
    detached.detach();
    try {
      suspended.detach();
    } catch (const QVREInternalError&) {
      useAll();
      return suspended ? 2 : 0;
    }
    return 1;
  });

  EXPECT_EQ(status, 0);
  mayEnd.set();
  EXPECT_TRUE(joinable->join());
  EXPECT_TRUE(suspended->cancel());
  EXPECT_TRUE(detached->cancel());
}

TEST(QVRSysThreadForkTest, ThreadThatForksIsStoppedAndLeavesEverythingUsable) {
  std::atomic<long> forks = 0;
  const StoppedThread thread([&] {
    for (;; ++forks) exitStatusOfFork([] { return 0; });
  });
  for (int i = 0; i < 50; ++i) {
    const long before = forks;
    while (forks == before) sched_yield();
    ASSERT_TRUE(thread->suspend());
    useAll();
    expectEverythingToWork();
    thread->resume();
  }
  for (int i = 0; i < 50; ++i) {
    const long before = forks;
    while (forks == before) sched_yield();
    ASSERT_TRUE(thread->cancel());
    useAll();
    expectEverythingToWork();
    thread->start();
  }
}

}  // namespace
