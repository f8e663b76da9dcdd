// Threads that are made, run, and end by themselves.
#include "QVRSysThreadBody.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cerrno>
#include <memory>
#include <optional>
#include <thread>
#include <type_traits>
#include <vector>

#include "QVREInternalError.h"
#include "QVRELogicError.h"
#include "ThreadProbe.h"
#include "support/AllocationRefuser.h"
#include "support/AssertRecorder.h"
#include "support/ExpectFailure.h"
#include "support/ThreadSanitizer.h"

constexpr char kSource[] = "QVRSystem/QVRThreadsMD.m/src/QVRSysThread";

namespace {

using Access = QVRSysThreadBodyTestAccess;

static_assert(!std::is_nothrow_destructible_v<QVRSysThreadBody>);
static_assert(!std::is_nothrow_destructible_v<ThreadPointer>);
static_assert(!std::is_nothrow_move_assignable_v<ThreadPointer>);
static_assert(!std::is_copy_constructible_v<QVRSysThreadBody> &&
              !std::is_copy_assignable_v<QVRSysThreadBody>);

// Those that tests ask for are high: an ordinary user cannot lower that of the tests.
int niceValueOf(const QVRSysThreadId& id) {
  errno = 0;
  return getpriority(PRIO_PROCESS, static_cast<id_t>(id.hash()));
}

/// A thread that waits for its event.
struct WaitingThread {
  explicit WaitingThread(const QVRSysThreadAttribute& attribute = {})
      : body(makeThread([this] { mayEnd.wait(); }, attribute)) {}
  // A test has joined it.
  ~WaitingThread() noexcept {}

  Event mayEnd;
  ThreadPointer body;
};

void expectState(const QVRSysThreadBody& body, QVRSysExecutionState state) {
  EXPECT_EQ(body.getState(), state);
  EXPECT_EQ(body.isIdle(), state == QVR_SYS_IDLE);
  EXPECT_EQ(body.isRunning(), state == QVR_SYS_RUNNING);
  EXPECT_EQ(body.isSuspended(), state == QVR_SYS_SUSPENDED);
}

TEST(QVRSysThreadBodyTest, NewBodyIsIdleWithoutThread) {
  const RunnablePointer runnable(new ProbeRunnable([] {}));
  const ThreadPointer body(new QVRSysThreadBody(runnable));

  expectState(*body, QVR_SYS_IDLE);
  EXPECT_FALSE(body->getThreadId().isValid());
  EXPECT_EQ(body->getRunnable(), runnable);
  EXPECT_EQ(body->getAttribute().getDetachState(), QVR_SYS_JOINABLE);
  EXPECT_EQ(body->getPriority(), 0);
  EXPECT_EQ(body->getMaximumPriority(), 15);
  EXPECT_EQ(body->getMinimumPriority(), -15);
}

TEST(QVRSysThreadBodyTest, BodyCopiesTheWholeAttribute) {
  QVRSysThreadAttribute attribute;
  attribute.setInitialCommittedStackSize(7);
  attribute.setSecurityAttributes(&attribute);
  attribute.setCreateSuspendedFlag(8);
  attribute.setPriority(-3);
  attribute.setDetachState(QVR_SYS_DETACHED);

  const QVRSysThreadAttribute copy = makeThread([] {}, attribute)->getAttribute();

  EXPECT_EQ(copy.getInitialCommittedStackSize(), 7u);
  EXPECT_EQ(copy.getSecurityAttributes(), &attribute);
  EXPECT_EQ(copy.getCreateSuspendedFlag(), 8u);
  EXPECT_EQ(copy.getPriority(), -3);
  EXPECT_EQ(copy.getDetachState(), QVR_SYS_DETACHED);
}

TEST(QVRSysThreadBodyTest, IdleBodyHasNothingToStop) {
  const ThreadPointer body = makeThread([] {});

  EXPECT_TRUE(body->join());
  EXPECT_TRUE(body->cancel());
  expectFailure<QVRELogicError>([&] { body->suspend(); }, " Trying to suspend an idle thread ",
                                kSource, 405);
  expectFailure<QVRELogicError>([&] { body->resume(); },
                                " Trying to resume a thread \t\t\tthat was not suspended ", kSource,
                                456);
  expectState(*body, QVR_SYS_IDLE);
}

TEST(QVRSysThreadBodyTest, ThreadCallsRunAloneOnceUnderItsIdentifier) {
  QVRSysThreadId seen;
  auto* const runnable = new ProbeRunnable([&] { seen = QVRSysGetThreadId(); });
  const ThreadPointer body(new QVRSysThreadBody(runnable));

  body->start();
  const QVRSysThreadId id = body->getThreadId();
  EXPECT_TRUE(body->join());

  EXPECT_TRUE(id.isValid());
  EXPECT_EQ(seen, id);
  EXPECT_NE(seen, QVRSysGetThreadId());
  EXPECT_EQ(runnable->initialized, 0);
  EXPECT_EQ(runnable->runs, 1);
  EXPECT_EQ(runnable->finalized, 0);
}

TEST(QVRSysThreadBodyTest, BodyRunsUntilJoinedAlsoWhenItsRunnableHasReturned) {
  const ThreadPointer body = makeThread([] {});
  body->start();
  const QVRSysThreadId id = body->getThreadId();
  awaitEnd(id);

  expectState(*body, QVR_SYS_RUNNING);
  EXPECT_EQ(body->getThreadId(), id);
  EXPECT_TRUE(body->join());
  expectState(*body, QVR_SYS_IDLE);
  EXPECT_FALSE(body->getThreadId().isValid());
}

TEST(QVRSysThreadBodyTest, RunningBodyRefusesToBeResumed) {
  WaitingThread thread;
  thread.body->start();

  expectFailure<QVRELogicError>([&] { thread.body->resume(); },
                                " Trying to resume a thread \t\t\tthat was not suspended ", kSource,
                                456);

  expectState(*thread.body, QVR_SYS_RUNNING);
  thread.mayEnd.set();
  EXPECT_TRUE(thread.body->join());
}

TEST(QVRSysThreadBodyTest, StartOfARunningBodyJoinsAndRunsAgain) {
  std::atomic<int> inside = 0;
  auto* const runnable = new ProbeRunnable([&] {
    EXPECT_EQ(++inside, 1);
    --inside;
  });
  const ThreadPointer body(new QVRSysThreadBody(runnable));

  for (int i = 0; i < 10; ++i) body->start();

  expectState(*body, QVR_SYS_RUNNING);
  EXPECT_TRUE(body->join());
  EXPECT_EQ(runnable->runs, 10);
}

TEST(QVRSysThreadBodyTest, StartsAgainAfterTheJoin) {
  auto* const runnable = new ProbeRunnable([] {});
  const ThreadPointer body(new QVRSysThreadBody(runnable));

  for (int i = 0; i < 3; ++i) {
    body->start();
    EXPECT_TRUE(body->join());
  }

  EXPECT_EQ(runnable->runs, 3);
  EXPECT_EQ(runnable->getReferences(), 1u);
}

TEST(QVRSysThreadBodyTest, DestructionWaitsForTheThread) {
  std::atomic<bool> done = false;
  {
    const ThreadPointer body = makeThread([&] {
      for (int i = 0; i < 1000; ++i) sched_yield();
      done = true;
    });
    body->start();
  }
  EXPECT_TRUE(done);
}

TEST(QVRSysThreadBodyTest, BodyThatIsNotJoinableIsNeverJoined) {
  WaitingThread thread(detachedAttribute());
  EXPECT_FALSE(thread.body->join());

  thread.body->start();

  EXPECT_FALSE(thread.body->join());
  expectState(*thread.body, QVR_SYS_RUNNING);
  thread.mayEnd.set();
  awaitEnd(thread.body->getThreadId());
}

TEST(QVRSysThreadBodyTest, ThreadThatIsNotJoinableOutlivesItsBody) {
  Event mayEnd;
  Event ended;
  RunnablePointer runnable(new ProbeRunnable([&] {
    mayEnd.wait();
    ended.set();
  }));
  ThreadPointer body(new QVRSysThreadBody(runnable, detachedAttribute()));
  body->start();
  const QVRSysThreadId id = body->getThreadId();
  body.detach();
  EXPECT_EQ(runnable->getReferences(), 2u);

  mayEnd.set();
  ended.wait();

  awaitEnd(id);
  EXPECT_EQ(runnable->getReferences(), 1u);
}

TEST(QVRSysThreadBodyTest, ThreadThatIsNotJoinableGivesItsStackBackThoughItsBodyStays) {
  QVRSysThreadAttribute attribute = detachedAttribute();
  attribute.setInitialCommittedStackSize(kRareStackSize);
  std::vector<ThreadPointer> bodies;
  std::vector<void*> stacks(3);
  for (void*& stack : stacks) {
    Event noted;
    const auto note = [&] {
      stack = stackAddress();
      noted.set();
    };
    bodies.push_back(makeThread(note, attribute));
    bodies.back()->start();
    noted.wait();
    awaitEnd(bodies.back()->getThreadId());
  }

  EXPECT_EQ(stacks[0], stacks[1]);
  EXPECT_EQ(stacks[0], stacks[2]);
  EXPECT_TRUE(bodies[0]->cancel());
  EXPECT_FALSE(bodies[1]->join());
}

TEST(QVRSysThreadBodyTest, StartOfARunningBodyThatIsNotJoinableReportsAndStartsOneMore) {
  std::atomic<int> runs = 0;
  Event mayEnd[2];
  const ThreadPointer body = makeThread([&] { mayEnd[runs++].wait(); }, detachedAttribute());
  body->start();
  const QVRSysThreadId first = body->getThreadId();
  {
    const AssertRecorder asserts;
    body->start();
    EXPECT_EQ(asserts.only(), (AssertRecord{"Assertion", "state_ == QVR_SYS_IDLE", kSource, 345}));
  }
  const QVRSysThreadId second = body->getThreadId();

  while (runs != 2) sched_yield();
  EXPECT_NE(first, second);
  mayEnd[0].set();
  mayEnd[1].set();
  awaitEnd(first);
  awaitEnd(second);
}

TEST(QVRSysThreadBodyTest, UnknownStateIsNeitherSuspendedNorResumedNorJoined) {
  constexpr int kUnknown = 7;
  const ThreadPointer body = makeThread([] {});
  Access::setState(*body, kUnknown);

  EXPECT_FALSE(body->suspend());
  expectFailure<QVREInternalError>([&] { body->join(); }, " unknown thread state ", kSource, 551);
  expectFailure<QVRELogicError>([&] { body->resume(); },
                                " Trying to resume a thread \t\t\tthat was not suspended ", kSource,
                                456);
  EXPECT_FALSE(body->setRunnable(nullptr));
  EXPECT_FALSE(body->cancel());
  EXPECT_EQ(body->getState(), kUnknown);
  {
    const AssertRecorder asserts;
    body->start();
    EXPECT_EQ(asserts.only(), (AssertRecord{"Assertion", "state_ == QVR_SYS_IDLE", kSource, 345}));
  }
  EXPECT_TRUE(body->join());
}

TEST(QVRSysThreadBodyTest, RunnableIsReplacedOnlyInAnIdleBody) {
  WaitingThread thread;
  const RunnablePointer first = thread.body->getRunnable();
  const RunnablePointer other(new ProbeRunnable([] {}));
  thread.body->start();

  EXPECT_FALSE(thread.body->setRunnable(other));
  EXPECT_EQ(thread.body->getRunnable(), first);

  thread.mayEnd.set();
  EXPECT_TRUE(thread.body->join());
  EXPECT_TRUE(thread.body->setRunnable(other));
  EXPECT_EQ(thread.body->getRunnable(), other);
}

TEST(QVRSysThreadBodyTest, AttributeIsTakenOverWithoutItsDetachState) {
  const ThreadPointer body = makeThread([] {});
  QVRSysThreadAttribute attribute = detachedAttribute();
  attribute.setPriority(-2);

  body->setAttribute(attribute);

  EXPECT_EQ(body->getAttribute().getPriority(), -2);
  EXPECT_EQ(body->getAttribute().getDetachState(), QVR_SYS_JOINABLE);
}

TEST(QVRSysThreadBodyTest, ThreadWithoutRunnableEndsAtOnce) {
  const ThreadPointer body(new QVRSysThreadBody(nullptr));

  body->start();

  EXPECT_TRUE(body->getThreadId().isValid());
  EXPECT_TRUE(body->join());
}

TEST(QVRSysThreadBodyTest, PriorityIsTheNegativeNiceValue) {
  WaitingThread thread;
  QVRSysThreadAttribute attribute;
  attribute.setPriority(-14);
  thread.body->setAttribute(attribute);
  thread.body->start();
  EXPECT_EQ(niceValueOf(thread.body->getThreadId()), 14);

  thread.body->setPriority(-15);

  EXPECT_EQ(niceValueOf(thread.body->getThreadId()), 15);
  EXPECT_EQ(thread.body->getPriority(), -15);
  thread.mayEnd.set();
  EXPECT_TRUE(thread.body->join());
}

TEST(QVRSysThreadBodyTest, PriorityOfAnIdleBodyIsForItsNextThread) {
  WaitingThread thread;
  thread.body->setPriority(-14);
  EXPECT_EQ(thread.body->getPriority(), -14);

  thread.body->start();

  EXPECT_EQ(niceValueOf(thread.body->getThreadId()), 14);
  thread.mayEnd.set();
  EXPECT_TRUE(thread.body->join());
}

TEST(QVRSysThreadBodyTest, ThreadOfPriorityZeroInheritsItsNiceValue) {
  std::thread([] {
    const auto self = static_cast<id_t>(QVRSysGetThreadId().hash());
    ASSERT_EQ(setpriority(PRIO_PROCESS, self, 14), 0);
    WaitingThread thread;

    thread.body->start();

    EXPECT_EQ(niceValueOf(thread.body->getThreadId()), 14);
    thread.mayEnd.set();
    EXPECT_TRUE(thread.body->join());
  }).join();
}

TEST(QVRSysThreadBodyTest, PriorityOutsideTheLimitsIsKeptAndNotApplied) {
  for (const int priority : {16, -16, 100000}) {
    WaitingThread thread;
    const int before = niceValueOf(QVRSysGetThreadId());
    thread.body->setPriority(priority);
    thread.body->start();
    {
      const AssertRecorder asserts;
      thread.body->setPriority(priority);
      EXPECT_EQ(asserts.only(), (AssertRecord{"Assertion", "result", kSource, 191}));
    }
    EXPECT_EQ(niceValueOf(thread.body->getThreadId()), before);
    EXPECT_EQ(thread.body->getPriority(), priority);
    thread.mayEnd.set();
    EXPECT_TRUE(thread.body->join());
  }
}

TEST(QVRSysThreadBodyTest, PriorityOfAnEndedThreadIsNotApplied) {
  const ThreadPointer body = makeThread([] {});
  body->start();
  awaitEnd(body->getThreadId());

  const AssertRecorder asserts;
  body->setPriority(-1);

  EXPECT_EQ(asserts.only(), (AssertRecord{"Assertion", "result", kSource, 191}));
  EXPECT_TRUE(body->join());
}

/// The size of the stack of a thread with such an attribute.
std::size_t stackSizeOf(std::size_t asked) {
  std::size_t size = 0;
  QVRSysThreadAttribute attribute;
  attribute.setInitialCommittedStackSize(asked);
  const ThreadPointer body = makeThread(
      [&] {
        pthread_attr_t attributes;
        pthread_getattr_np(pthread_self(), &attributes);
        pthread_attr_getstacksize(&attributes, &size);
        pthread_attr_destroy(&attributes);
      },
      attribute);
  body->start();
  body->join();
  return size;
}

TEST(QVRSysThreadBodyTest, StackIsTheSystemsOrAsLargeAsAsked) {
  constexpr std::size_t kLarge = 32 * 1024 * 1024;
  const std::size_t usual = stackSizeOf(0);

  EXPECT_EQ(stackSizeOf(1), usual);
  EXPECT_EQ(stackSizeOf(64 * 1024), usual);
  EXPECT_EQ(stackSizeOf((std::size_t{1} << 32) + 1), usual);
  EXPECT_GE(stackSizeOf(kLarge), kLarge);
}

TEST(QVRSysThreadBodyTest, LargeStackCanBeUsedToItsEnd) {
  constexpr std::size_t kLarge = 32 * 1024 * 1024;
#ifdef QVR_TEST_SANITIZES_THREADS
  constexpr std::size_t kFrames = 4 * 1024 * 1024;  // the sanitizer's are there, too
#else
  constexpr std::size_t kFrames = 64 * 1024;  // what the thread's first frames take
#endif
  QVRSysThreadAttribute attribute;
  attribute.setInitialCommittedStackSize(kLarge);
  const ThreadPointer body = makeThread(
      [&] {
        volatile char* const bytes = static_cast<char*>(__builtin_alloca(kLarge - kFrames));
        bytes[0] = 1;
      },
      attribute);

  body->start();
  EXPECT_TRUE(body->join());
}

TEST(QVRSysThreadBodyTest, ThreadThatJoinsItselfGoesOn) {
  ThreadPointer body;
  std::optional<bool> joined;
  QVRSysExecutionState state = QVR_SYS_IDLE;
  body = makeThread([&] {
    joined = body->join();
    state = body->getState();
  });

  body->start();
  EXPECT_TRUE(body->join());

  EXPECT_EQ(joined, false);
  EXPECT_EQ(state, QVR_SYS_RUNNING);
}

TEST(QVRSysThreadBodyTest, ThreadFindsItsBodyRunningUnderItsIdentifier) {
  for (int i = 0; i < 100; ++i) {
    ThreadPointer body;
    bool isRight = false;
    body = makeThread(
        [&] { isRight = body->isRunning() && body->getThreadId() == QVRSysGetThreadId(); });

    body->start();
    body->join();

    ASSERT_TRUE(isRight);
  }
}

TEST(QVRSysThreadBodyTest, BodyDestroyedByItsOwnThreadLeavesTheThreadToFreeItself) {
  struct Self {
    ThreadPointer body;
    ~Self() noexcept {}
  };
  auto self = std::make_shared<Self>();
  Event mayDrop;
  Event dropped;
  self->body = makeThread([&, self] {
    mayDrop.wait();
    self->body.detach();
    dropped.set();
  });
  QVRSysThreadBody* const body = self->body.get();
  body->start();
  const QVRSysThreadId id = body->getThreadId();
  self.reset();

  mayDrop.set();
  dropped.wait();

  awaitEnd(id);
}

TEST(QVRSysThreadBodyTest, ThreadIsNotMistakenForAnExceptionWhenThePlatformEndsIt) {
  struct Unwound {
    bool& is;
    ~Unwound() { is = true; }
  };
  struct Ending {
    void run() {
      const Unwound mark{isUnwound};
      end();
      wentOn = true;
    }
    void (*end)();
    bool isUnwound = false;
    bool wentOn = false;
  };
  void (*const endings[])() = {[] { pthread_exit(nullptr); },
                               [] {
                                 pthread_cancel(pthread_self());
                                 pthread_testcancel();
                               }};
  for (auto* const end : endings) {
    Ending ending{end};
    const ThreadPointer body = QVRMakeThread(QVRMakeFunctor0(&ending, &Ending::run));
    const RunnablePointer runnable = body->getRunnable();

    body->start();

    EXPECT_TRUE(body->join());
    EXPECT_TRUE(ending.isUnwound);
    EXPECT_FALSE(ending.wentOn);
    EXPECT_EQ(runnable->getReferences(), 2u);
  }
}

void throwSomething() { throw 1; }

TEST(QVRSysThreadBodyTest, FunctorsExceptionEndsItsThreadQuietly) {
  const ThreadPointer body = QVRMakeThread(QVRMakeFunctor0(&throwSomething));

  body->start();

  EXPECT_TRUE(body->join());
}

TEST(QVRSysThreadBodyTest, MadeThreadIsIdleWithTheDefaultAttribute) {
  const ThreadPointer body = QVRMakeThread(QVRMakeFunctor0(&throwSomething));

  EXPECT_TRUE(body->isIdle());
  EXPECT_TRUE(body->getRunnable());
  EXPECT_EQ(body->getAttribute().getDetachState(), QVR_SYS_JOINABLE);
}

TEST(QVRSysThreadBodyTest, BodiesCompareByTheirThreads) {
  WaitingThread a;
  WaitingThread b;
  EXPECT_FALSE(a.body == b.body);
  EXPECT_FALSE(a.body == a.body) << "no thread yet";
  EXPECT_TRUE(a.body != a.body);
  EXPECT_FALSE(a.body < b.body);
  a.body->start();
  b.body->start();

  EXPECT_TRUE(a.body == a.body);
  EXPECT_FALSE(a.body == b.body);
  EXPECT_EQ(a.body < b.body, a.body->getThreadId() < b.body->getThreadId());
  EXPECT_NE(a.body < b.body, b.body < a.body);

  a.mayEnd.set();
  b.mayEnd.set();
  EXPECT_TRUE(a.body->join());
  EXPECT_TRUE(b.body->join());
}

thread_local struct LocalWitness {
  ~LocalWitness() {
    if (destroyed != nullptr) *destroyed = true;
  }
  std::atomic<bool>* destroyed = nullptr;
} localWitness;

TEST(QVRSysThreadBodyTest, ThreadLocalObjectsAreDestroyedAtTheEnd) {
  std::atomic<bool> destroyed = false;
  const ThreadPointer body = makeThread([&] { localWitness.destroyed = &destroyed; });

  body->start();
  EXPECT_TRUE(body->join());

  EXPECT_TRUE(destroyed);
}

TEST(QVRSysThreadBodyTest, EveryLackOfMemoryLeavesABodyThatCanBeMadeOrMended) {
  const RunnablePointer runnable(new ProbeRunnable([] {}));
  // Where the mutex gets no memory it says that it cannot be initialised.
  const auto make = [](auto maker) {
    return [maker] {
      try {
        maker();
      } catch (const QVREInternalError& failure) {
        EXPECT_STREQ(failure.what(), "Mutex Initialization failed");
        throw std::bad_alloc();
      }
    };
  };
  EXPECT_GE(refuseEachAllocation(make([&] { ThreadPointer(new QVRSysThreadBody(runnable)); }),
                                 [&] { EXPECT_EQ(runnable->getReferences(), 1u); }),
            1u);
  EXPECT_GE(refuseEachAllocation(make([] { QVRMakeThread(QVRMakeFunctor0(&throwSomething)); })),
            2u);

  const ThreadPointer body(new QVRSysThreadBody(runnable));
  const auto afterRefusal = [&] {
    expectState(*body, QVR_SYS_RUNNING);
    EXPECT_EQ(runnable->getReferences(), 2u);
    EXPECT_FALSE(body->join());
    expectState(*body, QVR_SYS_IDLE);
  };
  EXPECT_GE(refuseEachAllocation([&] { body->start(); }, afterRefusal), 1u);
  EXPECT_TRUE(body->join());
}

}  // namespace
