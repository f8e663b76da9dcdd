// When a deferred wake-up is given.
#include "QVRSystem/internal/QVRDeferredWake.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string_view>

#include "QVRSystem/internal/QVRWaitList.h"
#include "support/CommandedThread.h"
#include "support/EndingThreads.h"
#include "support/PlatformPlan.h"

namespace {

using qvr::internal::deferredWake;
using qvr::internal::giveDeferredWake;
using qvr::internal::Waiter;

/// A thread asleep until a waiter is woken.
class Sleeper {
 public:
  Sleeper() {
    thread_.start([this] { waiter_.sleep(); });
    EXPECT_TRUE(sleeps());
  }

  Waiter& waiter() { return waiter_; }
  bool sleeps() const { return thread_.sleeps(); }
  void expectAwake() { thread_.finish(); }

 private:
  Waiter waiter_;
  CommandedThread thread_;
};

TEST(QVRDeferredWakeTest, IsGivenOnDemandAndNoEarlier) {
  Sleeper sleeper;

  sleeper.waiter().wakeBehindMutex();
  EXPECT_TRUE(sleeper.sleeps());
  giveDeferredWake();

  sleeper.expectAwake();
  EXPECT_EQ(deferredWake(), nullptr);
}

TEST(QVRDeferredWakeTest, TheNextOneBringsItForward) {
  Sleeper first;
  Sleeper second;

  first.waiter().wakeBehindMutex();
  second.waiter().wakeBehindMutex();

  first.expectAwake();
  EXPECT_TRUE(second.sleeps());
  giveDeferredWake();
  second.expectAwake();
}

TEST(QVRDeferredWakeTest, AThreadThatEndsLeavesNoneBehind) {
  for (const ThreadEnding& ending : threadEndings()) {
    // Behind the back of the C library nobody hears of the end.
    if (std::string_view(ending.name) == "exit") continue;
    SCOPED_TRACE(ending.name);
    Sleeper sleeper;

    ending.run([&] { sleeper.waiter().wakeBehindMutex(); });

    sleeper.expectAwake();
  }
}

TEST(QVRDeferredWakeTest, IsGivenAtOnceWhereTheEndCannotBeWatched) {
  const PlatformPlan plan("setThreadValue", ENOMEM);
  Sleeper sleeper;

  CommandedThread().run([&] {
    sleeper.waiter().wakeBehindMutex();
    EXPECT_EQ(deferredWake(), nullptr);
  });

  sleeper.expectAwake();
}

}  // namespace
