// Threads that are suspended, resumed and cancelled: what they do meanwhile, and what
// becomes of the locks that they hold or wait for.
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sstream>
#include <thread>
#include <vector>

#include "QVREInternalError.h"
#include "QVRELogicError.h"
#include "QVRPoolAllocator.h"
#include "QVRReadersWriterLock.h"
#include "QVRSysCondition.h"
#include "QVRSysCriticalSection.h"
#include "QVRSysFastMutexLock.h"
#include "QVRSysLockGuard.h"
#include "QVRSysMutexLock.h"
#include "QVRSysPCQueue.h"
#include "QVRSysThreadBody.h"
#include "QVRSysTimedMutexLock.h"
#include "QVRTraceLog.h"
#include "ThreadStopping.h"
#include "ZELSysLog.h"
#include "support/AddressSanitizer.h"
#include "support/AssertRecorder.h"
#include "support/ExpectFailure.h"
#include "support/ForkedChild.h"

namespace {

constexpr char kSource[] = "QVRSystem/QVRThreadsMD.m/src/QVRSysThread";
constexpr char kSuspendedText[] =
    " cannot join / delete a suspended thread; resume it or cancel it first ";

AssertRecord assertion(const char* expression, int line) {
  return {"Assertion", expression, kSource, line};
}

using Assertions = std::vector<AssertRecord>;

void sleepForEver() {
  for (;;) pause();
}

/// A pipe, from which somebody reads.
class Pipe {
 public:
  Pipe() { EXPECT_EQ(pipe2(ends_, O_CLOEXEC), 0); }
  ~Pipe() {
    close(ends_[0]);
    close(ends_[1]);
  }

  /// @return what the system's call says.
  ssize_t read() const {
    char byte = 0;
    return ::read(ends_[0], &byte, 1);
  }
  void write() const { EXPECT_EQ(::write(ends_[1], "x", 1), 1); }
  int end() const { return ends_[0]; }

 private:
  int ends_[2] = {-1, -1};
};

// States.

TEST(QVRSysThreadStopTest, SuspendedThreadStandsStillUntilResumed) {
  Counter counter;
  const StoppedThread thread(std::ref(counter));
  counter.awaitStart();
  for (int i = 0; i < 20; ++i) {
    EXPECT_TRUE(thread->suspend());
    EXPECT_TRUE(thread->isSuspended());
    EXPECT_TRUE(counter.stands());

    thread->resume();

    EXPECT_TRUE(thread->isRunning());
    counter.awaitMore();
  }
}

TEST(QVRSysThreadStopTest, SuspendedBodyRefusesToStartAndToBeJoined) {
  Counter counter;
  const StoppedThread thread(std::ref(counter));
  thread->suspend();

  EXPECT_TRUE(thread->suspend());
  expectFailure<QVREInternalError>([&] { thread->start(); },
                                   " Trying to start a suspended thread; \t\t\tresume it first ",
                                   kSource, 326);
  expectFailure<QVREInternalError>([&] { thread->join(); }, kSuspendedText, kSource, 547);
  EXPECT_FALSE(thread->setRunnable(nullptr));

  EXPECT_TRUE(thread->isSuspended());
  thread->resume();
  counter.awaitMore();
}

TEST(QVRSysThreadStopTest, SuspendedBodyThatIsNotJoinableIsNotJoinedEither) {
  Counter counter;
  const ThreadPointer body = makeThread(std::ref(counter), detachedAttribute());
  body->start();
  counter.awaitStart();
  body->suspend();

  EXPECT_FALSE(body->join());

  EXPECT_TRUE(body->isSuspended());
  EXPECT_TRUE(body->cancel());
}

TEST(QVRSysThreadStopTest, CancelledThreadIsGoneAndItsIdentifierKept) {
  for (const bool suspends : {false, true}) {
    Counter counter;
    const StoppedThread thread(std::ref(counter));
    const RunnablePointer runnable = thread->getRunnable();
    counter.awaitStart();
    if (suspends) thread->suspend();
    const QVRSysThreadId id = thread->getThreadId();

    EXPECT_TRUE(thread->cancel());

    EXPECT_TRUE(thread->isIdle());
    awaitEnd(id);
    EXPECT_EQ(thread->getThreadId(), id);
    EXPECT_EQ(runnable->getReferences(), 2u);
    EXPECT_TRUE(thread->cancel());
    EXPECT_TRUE(thread->join());
  }
}

TEST(QVRSysThreadStopTest, CancelledBodyStartsAgain) {
  Counter counter;
  const StoppedThread thread(std::ref(counter));
  for (int i = 0; i < 20; ++i) {
    counter.awaitMore();
    EXPECT_TRUE(thread->cancel());
    EXPECT_TRUE(counter.stands());
    thread->start();
  }
}

TEST(QVRSysThreadStopTest, EndedThreadIsNotStoppedButJoinedOrCancelled) {
  for (const bool joins : {true, false}) {
    const StoppedThread thread([] {});
    awaitEnd(thread->getThreadId());
    const AssertRecorder asserts;

    EXPECT_TRUE(thread->suspend());
    EXPECT_TRUE(thread->isSuspended());
    thread->resume();
    EXPECT_TRUE(thread->isRunning());
    EXPECT_EQ(asserts.all(),
              (Assertions{assertion("ecode != -1", 411), assertion("ecode == 0", 413),
                          assertion("ecode != -1", 443), assertion("ecode == 1", 444)}));

    EXPECT_TRUE(joins ? thread->join() : thread->cancel());
    EXPECT_TRUE(thread->isIdle());
  }
}

TEST(QVRSysThreadStopTest, ThreadCreatedSuspendedWaitsAndRefusesResume) {
  std::atomic<bool> ran = false;
  const ThreadPointer body = makeThread([&] { ran = true; }, createdSuspended());
  const RunnablePointer runnable = body->getRunnable();
  body->start();
  awaitSleep(body->getThreadId());

  expectFailure<QVRELogicError>([&] { body->resume(); },
                                " Trying to resume a thread \t\t\tthat was not suspended ", kSource,
                                456);
  {
    const AssertRecorder asserts;
    body->suspend();  // from 1 to 2
    body->resume();   // and back
    EXPECT_EQ(asserts.all(),
              (Assertions{assertion("ecode == 0", 413), assertion("ecode == 1", 444)}));
  }
  EXPECT_TRUE(body->isRunning());
  EXPECT_TRUE(body->cancel());

  EXPECT_FALSE(ran);
  EXPECT_EQ(runnable->getReferences(), 2u);
}

TEST(QVRSysThreadStopTest, ProcessEndsThoughThreadsAreSuspended) {
  const int status = exitStatusOfFork([] {
    const ThreadPointer created = makeThread([] {}, createdSuspended());
    created->start();
    const ThreadPointer running = makeThread(&sleepForEver);
    running->start();
    running->suspend();
    std::exit(7);
    return 1;
  });

  EXPECT_EQ(status, 7);
}

TEST(QVRSysThreadStopTest, LastPointerToASuspendedThreadReportsAndCancels) {
  Counter counter;
  const auto expectReport = [&](auto drop) {
    ThreadPointer pointer = makeThread(std::ref(counter));
    const RunnablePointer runnable = pointer->getRunnable();
    pointer->start();
    const QVRSysThreadId id = pointer->getThreadId();
    counter.awaitMore();
    pointer->suspend();

    expectFailure<QVREInternalError>([&] { drop(pointer); }, kSuspendedText, kSource, 547);

    awaitEnd(id);
    EXPECT_EQ(runnable->getReferences(), 1u);
    if (pointer) pointer.detach();
  };
  expectReport([](ThreadPointer& pointer) {
    pointer.detach();
    EXPECT_FALSE(pointer);
  });
  expectReport([](ThreadPointer& pointer) { const ThreadPointer last = std::move(pointer); });
  expectReport([](ThreadPointer& pointer) { pointer = ThreadPointer(); });
  expectReport([](ThreadPointer& pointer) {
    const ThreadPointer other;
    pointer = other;
  });
  expectReport([](ThreadPointer& pointer) { pointer = makeThread([] {}); });
}

TEST(QVRSysThreadStopTest, ThreadThatSuspendsItselfStandsUntilResumed) {
  ThreadPointer body;
  std::atomic<int> rounds = 0;
  body = makeThread([&] {
    for (int i = 0; i < 100; ++i, ++rounds) body->suspend();
  });
  body->start();
  for (int i = 0; i < 100; ++i) {
    while (!body->isSuspended()) sched_yield();
    EXPECT_EQ(rounds, i);
    body->resume();
    while (rounds == i) sched_yield();
  }
  EXPECT_TRUE(body->join());
}

TEST(QVRSysThreadStopTest, ThreadThatCancelsItselfEndsThere) {
  ThreadPointer body;
  std::atomic<bool> wentOn = false;
  body = makeThread([&] {
    body->cancel();
    wentOn = true;
  });
  const RunnablePointer runnable = body->getRunnable();
  body->start();
  const QVRSysThreadId id = body->getThreadId();
  awaitEnd(id);

  EXPECT_FALSE(wentOn);
  EXPECT_TRUE(body->isIdle());
  EXPECT_EQ(runnable->getReferences(), 2u);
  body->start();
  while (!body->isIdle()) sched_yield();
}

/// Ends a thread that calls this, and its body with it.
void cancelWithBody(std::shared_ptr<ThreadPointer>& last) {
  QVRSysThreadBody& body = **last;
  // The runnable, which holds the body, goes with the thread.
  QVRSysThreadBodyTestAccess::setState(body, QVR_SYS_IDLE);
  body.setRunnable(nullptr);
  QVRSysThreadBodyTestAccess::setState(body, QVR_SYS_RUNNING);
  body.cancel();
}

TEST(QVRSysThreadStopTest, ThreadThatCancelsItselfWithItsBodyIsFreedByTheNextThatIsStarted) {
  std::vector<void*> stacks(5);
  for (void*& stack : stacks) {
    QVRSysThreadAttribute attribute;
    attribute.setInitialCommittedStackSize(kRareStackSize);
    auto own = std::make_shared<ThreadPointer>();
    Event mayEnd;
    *own = makeThread(
        [&mayEnd, &stack, own]() mutable {
          stack = stackAddress();
          mayEnd.wait();
          cancelWithBody(own);
        },
        attribute);
    QVRSysThreadBody& body = **own;
    own.reset();
    body.start();
    const QVRSysThreadId id = body.getThreadId();
    mayEnd.set();
    awaitEnd(id);
  }

  for (void* const stack : stacks) EXPECT_EQ(stack, stacks[0]);
}

TEST(QVRSysThreadStopTest, ThreadIsStoppedWhateverItsStarterBlocked) {
  Counter counter;
  std::thread([&] {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
    const StoppedThread thread(std::ref(counter));
    counter.awaitStart();

    EXPECT_TRUE(thread->suspend());

    EXPECT_TRUE(counter.stands());
    thread->resume();
    counter.awaitMore();
    EXPECT_TRUE(thread->cancel());
  }).join();
}

thread_local struct Local {
  ~Local() {
    if (atEnd) atEnd();
  }
  std::function<void()> atEnd;
} local;

TEST(QVRSysThreadStopTest, CancelRunsNoDestructors) {
  std::atomic<int> destroyed = 0;
  struct Frame {
    std::atomic<int>& count;
    ~Frame() { ++count; }
  };
  static pthread_key_t key;
  pthread_key_create(&key, [](void* count) { ++*static_cast<std::atomic<int>*>(count); });
  const StoppedThread thread([&] {
    expectLosses();
    const Frame frame{destroyed};
    local.atEnd = [&] { ++destroyed; };
    pthread_setspecific(key, &destroyed);
    sleepForEver();
  });
  thread.awaitSleep();

  EXPECT_TRUE(thread->cancel());

  EXPECT_EQ(destroyed, 0);
  pthread_key_delete(key);
}

TEST(QVRSysThreadStopTest, NextThreadHasNoValuesOfACancelledOne) {
  static std::atomic<int> destroyed = 0;
  std::vector<pthread_key_t> keys(100);
  for (auto& key : keys) pthread_key_create(&key, [](void*) { ++destroyed; });
  bool hasValue = false;
  const StoppedThread thread([&] {
    expectLosses();
    for (const auto key : keys) {
      hasValue = hasValue || pthread_getspecific(key) != nullptr;
      pthread_setspecific(key, &destroyed);
    }
    sleepForEver();
  });
  for (int i = 0; i < 10; ++i) {
    thread.awaitSleep();
    EXPECT_TRUE(thread->cancel());
    std::thread([] {}).join();
    thread->start();
  }
  EXPECT_TRUE(thread->cancel());

  EXPECT_FALSE(hasValue);
  EXPECT_EQ(destroyed, 0);
  for (const auto key : keys) pthread_key_delete(key);
}

TEST(QVRSysThreadStopTest, ThreadIsStoppedInTheDestructorOfItsThreadLocalObject) {
  Counter counter;
  const StoppedThread thread([&] {
    expectLosses();
    local.atEnd = std::ref(counter);
  });
  counter.awaitStart();

  EXPECT_TRUE(thread->suspend());
  EXPECT_TRUE(counter.stands());
  thread->resume();
  counter.awaitMore();

  EXPECT_TRUE(thread->cancel());
}

// Wherever the thread is.

struct Activity {
  const char* name;
  std::function<void()> step;
};

FILE* sharedStream() {
  static FILE* const stream = std::fopen("/dev/null", "w");
  return stream;
}

void copyMemory() {
  static std::vector<char> from(1 << 20);
  static std::vector<char> to(1 << 20);
  std::memcpy(to.data(), from.data(), from.size());
}

void throwOne() {
  try {
    throw 1;
  } catch (int) {
  }
}

void throwOfLibrary() {
  try {
    throw QVRELogicError(u"text", "source", 1);
  } catch (const QVRELogicError&) {
  }
}

void traceLine() {
  QVRSystemTrace.acquireLock();
  QVRSystemTrace.write(QVRTraceLevelInfo, __FILE__, __LINE__) << " text " << 1 << '\n';
  QVRSystemTrace.releaseLock();
}

std::vector<Activity> activities() {
  return {
      {"heap", [] { delete[] new char[1 + static_cast<std::size_t>(rand()) % 10'000]; }},
      {"throw", &throwOne},
      {"library's exception", &throwOfLibrary},
      {"memory", &copyMemory},
      {"stream", [] { std::fprintf(sharedStream(), "%f %s\n", 2.5, "text"); }},
      {"iostream", [] { std::ostringstream() << 1 << ' ' << 2.5; }},
      {"trace line", &traceLine},
      {"sleep", [] { QVRSysThreadSleep(1); }},
      {"nothing", [] { sched_yield(); }},
      {"environment", [] { std::getenv("HOME"); }},
      {"loader", [] { dlclose(dlopen(nullptr, RTLD_NOW)); }},
  };
}

TEST(QVRSysThreadStopTest, ThreadIsStoppedInWhateverItDoesAndLeavesItUsable) {
#ifdef QVR_TEST_SANITIZES_ADDRESSES
  constexpr int kTimes = 5;
#else
  constexpr int kTimes = 25;
#endif
  for (const Activity& activity : activities()) {
    SCOPED_TRACE(activity.name);
    std::atomic<long> steps = 0;
    const StoppedThread thread([&] {
      expectLosses();
      for (;; ++steps) activity.step();
    });
    for (int i = 0; i < kTimes; ++i) {
      const long before = steps;
      while (steps == before) sched_yield();
      ASSERT_TRUE(thread->suspend());
      const long standing = steps;
      expectEverythingToWork();
      EXPECT_EQ(steps, standing);
      thread->resume();
    }
    for (int i = 0; i < kTimes; ++i) {
      const long before = steps;
      while (steps == before) sched_yield();
      ASSERT_TRUE(thread->cancel());
      expectEverythingToWork();
      thread->start();
    }
  }
}

TEST(QVRSysThreadStopTest, ReadOfAPipeGoesOnAfterEachSuspension) {
  const Pipe pipe;
  ssize_t result = 0;
  FinishingThread reader([&] { result = pipe.read(); });
  for (int i = 0; i < 50; ++i) {
    reader.thread.awaitSleep();
    EXPECT_TRUE(reader.thread->suspend());
    reader.thread->resume();
  }
  EXPECT_FALSE(reader.isFinished);

  pipe.write();

  EXPECT_TRUE(reader.thread->join());
  EXPECT_EQ(result, 1);
}

TEST(QVRSysThreadStopTest, SuspendedReaderLeavesWhatComesMeanwhile) {
  const Pipe pipe;
  FinishingThread reader([&] { pipe.read(); });
  reader.thread.awaitSleep();
  reader.thread->suspend();

  pipe.write();

  usleep(2000);
  EXPECT_FALSE(reader.isFinished);
  reader.thread->resume();
  EXPECT_TRUE(reader.thread->join());
}

TEST(QVRSysThreadStopTest, SuspensionNeitherShortensNorLengthensASleep) {
  using Clock = std::chrono::steady_clock;
  constexpr std::chrono::milliseconds kTime(100);
  const Clock::time_point start = Clock::now();
  FinishingThread sleeper([&] { QVRSysThreadSleep(kTime.count()); });
  const AssertRecorder asserts;  // of the last suspension, which may find it ended

  // A sleep that began anew after each would never end.
  while (!sleeper.isFinished) {
    sleeper.thread->suspend();
    sleeper.thread->resume();
  }

  EXPECT_GE(Clock::now() - start, kTime);
  EXPECT_TRUE(sleeper.thread->join());
}

TEST(QVRSysThreadStopTest, ThreadIsStoppedInPollWhichMayFail) {
  const Pipe pipe;
  int result = 1;
  int error = 0;
  FinishingThread polling([&] {
    pollfd polled{pipe.end(), POLLIN, 0};
    result = poll(&polled, 1, -1);
    error = errno;
  });
  const AssertRecorder asserts;  // of the last suspension, which may find it ended

  while (!polling.isFinished) {
    polling.thread->suspend();
    polling.thread->resume();
  }

  EXPECT_TRUE(polling.thread->join());

  EXPECT_EQ(result, -1);
  EXPECT_EQ(error, EINTR);
}

TEST(QVRSysThreadStopTest, BlockedThreadIsCancelled) {
  const Pipe pipe;
  const std::vector<Activity> blocking = {
      {"read", [&] { pipe.read(); }},
      {"sleep", [] { QVRSysThreadSleep(~0ul); }},
      {"poll", [] { poll(nullptr, 0, -1); }},
      {"pause", &sleepForEver},
  };
  for (const Activity& activity : blocking) {
    SCOPED_TRACE(activity.name);
    const StoppedThread thread(activity.step);
    thread.awaitSleep();
    EXPECT_TRUE(thread->cancel());
  }
}

TEST(QVRSysThreadStopTest, ThreadThatJoinsAnotherIsStopped) {
  Event mayEnd;
  const StoppedThread joined([&] { mayEnd.wait(); });
  bool result = false;
  {
    const StoppedThread joiner([&] { joined->join(); });
    joiner.awaitSleep();
    EXPECT_TRUE(joiner->cancel());
  }
  const StoppedThread joiner([&] { result = joined->join(); });
  joiner.awaitSleep();
  joiner->suspend();
  mayEnd.set();
  awaitEnd(joined->getThreadId());
  EXPECT_FALSE(result);

  joiner->resume();

  EXPECT_TRUE(joiner->join());
  EXPECT_TRUE(result);
}

// The loader's lock stays held: in a process of its own.
TEST(QVRSysThreadStopTest, ThreadIsStoppedInAnInitialiserThatBlocks) {
  const int status = exitStatusOfFork([] {
    int ends[2];
    if (pipe(ends) != 0) return 1;
    setenv("QVR_TEST_INITIALISER_READS", std::to_string(ends[0]).c_str(), 1);
    void* module = nullptr;
    const StoppedThread thread(
        [&] { module = dlopen(QVR_BLOCKING_MODULE, RTLD_NOW | RTLD_LOCAL); });
    thread.awaitSleep();
    if (!thread->suspend()) return 2;
    thread->resume();
    thread.awaitSleep();
    if (write(ends[1], "x", 1) != 1 || !thread->join() || module == nullptr) return 3;
    if (dlclose(module) != 0) return 4;
    thread->start();
    thread.awaitSleep();
    return thread->cancel() ? 0 : 5;
  });

  EXPECT_EQ(status, 0);
}

// Locks.

/// How the test holds a lock, and how threads wait for it.
struct LockUse {
  const char* name;
  std::function<void()> hold;
  std::function<void()> letGo;
  std::function<void()> acquire;
  std::function<void()> release;
};

template <class Lock>
LockUse useOf(const char* name) {
  auto lock = std::make_shared<Lock>();
  const auto acquire = [lock] { lock->acquire(); };
  const auto release = [lock] { lock->release(); };
  return {name, acquire, release, acquire, release};
}

std::vector<LockUse> lockUses() {
  struct Lock final : QVRReadersWriterLock {};
  auto shared = std::make_shared<Lock>();
  const auto release = [shared] { shared->release(); };
  const auto read = [shared] { shared->acquireRead(); };
  const auto write = [shared] { shared->acquireWrite(); };
  return {useOf<QVRSysFastMutexLock>("fast mutex"),
          useOf<QVRSysCriticalSection>("critical section"),
          useOf<QVRSysTimedMutexLock>("timed mutex"),
          useOf<QVRSysMutexLock>("mutex"),
          {"read lock", write, release, read, release},
          {"write lock", write, release, write, release},
          {"write lock behind a reader", read, release, write, release}};
}

TEST(QVRSysThreadStopTest, HolderOfALockKeepsItWhileSuspended) {
  for (const LockUse& use : lockUses()) {
    SCOPED_TRACE(use.name);
    Event held;
    Event mayLetGo;
    const StoppedThread holder([&] {
      use.hold();
      held.set();
      mayLetGo.wait();
      use.letGo();
    });
    held.wait();
    holder->suspend();
    FinishingThread waiter([&] {
      use.acquire();
      use.release();
    });
    mayLetGo.set();
    waiter.thread.awaitSleep();
    EXPECT_FALSE(waiter.isFinished);

    holder->resume();

    EXPECT_TRUE(waiter.thread->join());
    EXPECT_TRUE(holder->join());
  }
}

TEST(QVRSysThreadStopTest, SuspendedWaiterKeepsNoLockFromOthers) {
  for (const LockUse& use : lockUses()) {
    SCOPED_TRACE(use.name);
    use.hold();
    FinishingThread suspended([&] {
      use.acquire();
      use.release();
    });
    suspended.thread.awaitSleep();
    FinishingThread other([&] {
      use.acquire();
      use.release();
    });
    other.thread.awaitSleep();
    suspended.thread->suspend();

    use.letGo();

    EXPECT_TRUE(other.thread->join());
    EXPECT_FALSE(suspended.isFinished);
    suspended.thread->resume();
    EXPECT_TRUE(suspended.thread->join());
    use.hold();
    use.letGo();
  }
}

TEST(QVRSysThreadStopTest, CancelledWaiterTakesNoRelease) {
  for (const LockUse& use : lockUses()) {
    SCOPED_TRACE(use.name);
    use.hold();
    const StoppedThread cancelled(use.acquire);
    cancelled.awaitSleep();
    FinishingThread other([&] {
      use.acquire();
      use.release();
    });
    other.thread.awaitSleep();
    EXPECT_TRUE(cancelled->cancel());

    use.letGo();

    EXPECT_TRUE(other.thread->join());
    use.hold();
    use.letGo();
  }
}

TEST(QVRSysThreadStopTest, CancelledHoldersMutexIsAbandonedAndReportedOnce) {
  QVRSysMutexLock mutex;
  const StoppedThread holder([&] {
    mutex.acquire();
    mutex.acquire();
    sleepForEver();
  });
  holder.awaitSleep();
  FinishingThread waiter([&] {
    mutex.acquire();
    mutex.release();
  });
  waiter.thread.awaitSleep();
  const AssertRecorder asserts;

  EXPECT_TRUE(holder->cancel());

  EXPECT_TRUE(waiter.thread->join());
  EXPECT_EQ(asserts.all().size(), 1u);
  mutex.acquire();
  mutex.release();
  EXPECT_EQ(asserts.all().size(), 1u);
}

TEST(QVRSysThreadStopTest, CancelledHoldersLockOfAnotherKindStaysHeld) {
  auto lock = std::make_shared<QVRSysFastMutexLock>();
  const StoppedThread holder([&] {
    lock->acquire();
    sleepForEver();
  });
  holder.awaitSleep();
  EXPECT_TRUE(holder->cancel());

  const StoppedThread waiter([&] { lock->acquire(); });
  waiter.awaitSleep();

  EXPECT_TRUE(waiter->isRunning());
}

/// A condition, and threads that wait for it.
struct Waiting {
  QVRSysMutexLock mutex;
  QVRSysCondition condition{mutex};

  std::function<void()> wait() {
    return [this] {
      mutex.acquire();
      condition.wait();
      mutex.release();
    };
  }
  void signal() {
    const QVRSysLockGuard guard(mutex);
    condition.signal();
  }
};

TEST(QVRSysThreadStopTest, CancelledWaiterTakesNoSignal) {
  Waiting waiting;
  const StoppedThread first(waiting.wait());
  first.awaitSleep();
  FinishingThread second(waiting.wait());
  second.thread.awaitSleep();
  EXPECT_TRUE(first->cancel());

  waiting.signal();

  EXPECT_TRUE(second.thread->join());
}

TEST(QVRSysThreadStopTest, CancelledWaiterHoldsUpNoBroadcast) {
  Waiting waiting;
  const StoppedThread cancelled(waiting.wait());
  cancelled.awaitSleep();
  FinishingThread other(waiting.wait());
  other.thread.awaitSleep();
  EXPECT_TRUE(cancelled->cancel());
  {
    const QVRSysLockGuard guard(waiting.mutex);
    waiting.condition.signalAll();
  }
  EXPECT_TRUE(other.thread->join());
  waiting.signal();
}

TEST(QVRSysThreadStopTest, SignalIsKeptForASuspendedWaiter) {
  Waiting waiting;
  FinishingThread first(waiting.wait());
  first.thread.awaitSleep();
  FinishingThread second(waiting.wait());
  second.thread.awaitSleep();
  first.thread->suspend();

  waiting.signal();

  usleep(2000);
  EXPECT_FALSE(first.isFinished);
  EXPECT_FALSE(second.isFinished);
  first.thread->resume();
  EXPECT_TRUE(first.thread->join());
  waiting.signal();
  EXPECT_TRUE(second.thread->join());
}

TEST(QVRSysThreadStopTest, SuspendedWaiterOfAConditionLeavesItsMutexToOthers) {
  Waiting waiting;
  FinishingThread waiter(waiting.wait());
  waiter.thread.awaitSleep();
  waiter.thread->suspend();

  waiting.signal();
  waiting.mutex.acquire();
  waiting.mutex.release();

  waiter.thread->resume();
  EXPECT_TRUE(waiter.thread->join());
}

TEST(QVRSysThreadStopTest, WakeUpAndCancelThatMeetLoseNoLaterSignal) {
  Waiting waiting;
  for (int i = 0; i < 500; ++i) {
    const StoppedThread cancelled(waiting.wait());
    cancelled.awaitSleep();
    FinishingThread other(waiting.wait());
    other.thread.awaitSleep();
    const StoppedThread signaller([&] { waiting.signal(); });

    EXPECT_TRUE(cancelled->cancel());

    EXPECT_TRUE(signaller->join());
    // The one signal went to either; the next goes to the one that still waits.
    waiting.signal();
    ASSERT_TRUE(other.thread->join());
  }
}

TEST(QVRSysThreadStopTest, CancelledLastWaitingWriterLetsTheReadersIn) {
  QVRReadersWriterLock lock;
  lock.acquireRead();
  const StoppedThread writer([&] { lock.acquireWrite(); });
  writer.awaitSleep();
  FinishingThread reader([&] {
    lock.acquireRead();
    lock.release();
  });
  reader.thread.awaitSleep();
  EXPECT_FALSE(reader.isFinished);

  EXPECT_TRUE(writer->cancel());

  EXPECT_TRUE(reader.thread->join());
  lock.release();
}

TEST(QVRSysThreadStopTest, SuspendedWaitingWriterKeepsNewReadersOut) {
  QVRReadersWriterLock lock;
  lock.acquireRead();
  FinishingThread writer([&] {
    lock.acquireWrite();
    lock.release();
  });
  writer.thread.awaitSleep();
  writer.thread->suspend();
  FinishingThread reader([&] {
    lock.acquireRead();
    lock.release();
  });
  reader.thread.awaitSleep();

  lock.release();
  EXPECT_FALSE(reader.isFinished);

  writer.thread->resume();
  EXPECT_TRUE(writer.thread->join());
  EXPECT_TRUE(reader.thread->join());
}

TEST(QVRSysThreadStopTest, CancelledConsumerAndProducerTakeNothing) {
  QVRSysPCQueue<int> queue(1);
  const StoppedThread consumer([&] {
    int item = 0;
    queue.get(item);
  });
  consumer.awaitSleep();
  EXPECT_TRUE(consumer->cancel());
  EXPECT_TRUE(queue.put(1));
  EXPECT_EQ(queue.count(), 1u);
  const StoppedThread producer([&] { queue.put(2); });
  producer.awaitSleep();
  EXPECT_TRUE(producer->cancel());

  int item = 0;
  EXPECT_TRUE(queue.get(item));

  EXPECT_EQ(item, 1);
  EXPECT_EQ(queue.count(), 0u);
  EXPECT_TRUE(queue.put(3));
}

// Trace lines.

TEST(QVRSysThreadStopTest, ThreadIsStoppedInTheOperandOfATraceLineWhichKeepsItsLock) {
  const Pipe pipe;
  FinishingThread tracing([&] {
    QVRSystemTrace.acquireLock();
    QVRSystemTrace.write(QVRTraceLevelInfo, __FILE__, __LINE__) << pipe.read();
    QVRSystemTrace.releaseLock();
  });
  tracing.thread.awaitSleep();
  EXPECT_TRUE(tracing.thread->suspend());
  {
    // Those that wait for the line's end can be stopped as well.
    const StoppedThread other(&traceLine);
    const StoppedThread setting([] { QVRTraceLog::SetDefaultLevel(QVRTraceLevelUnspec); });
    FinishingThread third(&traceLine);
    other.awaitSleep();
    setting.awaitSleep();
    third.thread.awaitSleep();
    EXPECT_TRUE(other->suspend());
    other->resume();
    EXPECT_TRUE(other->cancel());
    EXPECT_TRUE(setting->cancel());

    pipe.write();
    tracing.thread->resume();

    EXPECT_TRUE(tracing.thread->join());
    EXPECT_TRUE(third.thread->join());
  }
  traceLine();
}

TEST(QVRSysThreadStopTest, ThreadIsStoppedInTheWriterOfATraceLine) {
  const Pipe pipe;
  static const Pipe* read = nullptr;
  read = &pipe;
  const ZELSysLog::Writer before = ZELSysLog::SetWriter([](const char*) { read->read(); });
  FinishingThread tracing([&] {
    QVRSystemTrace.acquireLock();
    QVRSystemTrace.write(QVRTraceLevelError, "text\n");
    QVRSystemTrace.releaseLock();
  });
  tracing.thread.awaitSleep();

  EXPECT_TRUE(tracing.thread->suspend());
  tracing.thread->resume();

  pipe.write();
  EXPECT_TRUE(tracing.thread->join());
  ZELSysLog::SetWriter(before);
  traceLine();
}

}  // namespace
