// What gives an object a lock of its own.
#include "QVRSysMonitor.h"

#include <gtest/gtest.h>

#include <thread>
#include <type_traits>
#include <utility>

#include "QVRSysLockGuard.h"
#include "QVRSysMutexLockReports.h"
#include "QVRSysUnlockGuard.h"
#include "support/EndingThreads.h"
#include "support/LockStateMachine.h"
#include "support/MutualExclusion.h"

namespace {

/// A class that locks itself, as modules write them.
class Stock : public QVRSysMonitor {
 public:
  Stock() = default;
  Stock(const Stock& other) : QVRSysMonitor(), count_(other.count()) {}

  void add(long more) {
    const QVRSysLockGuard guard(monitor());
    count_ = count() + more;
  }

  long count() const {
    const QVRSysLockGuard guard(monitor_temp());
    return count_;
  }

 private:
  long count_ = 0;
};

/// A monitor whose protected operations a test can call.
struct Probe : QVRSysMonitor {
  using QVRSysMonitor::acquire;
  using QVRSysMonitor::monitor;
  using QVRSysMonitor::monitor_temp;
  using QVRSysMonitor::mutex;
  using QVRSysMonitor::mutex_temp;
  using QVRSysMonitor::release;
};

TEST(QVRSysMonitorTest, ObjectsOfOneThreadAtATime) {
  Stock stock;

  runTogether(8, [&](int) {
    for (int i = 0; i < 1000; ++i) stock.add(1);
  });

  EXPECT_EQ(std::as_const(stock).count(), 8000);
}

TEST(QVRSysMonitorTest, CopyHasALockOfItsOwn) {
  struct LockedStock : Stock {
    using QVRSysMonitor::monitor;
  } stock;
  stock.add(5);
  const QVRSysLockGuard guard(stock.monitor());

  std::thread([&] {
    LockedStock copy;
    copy.add(7);
    const LockedStock another = copy;
    EXPECT_EQ(another.count(), 7);
  }).join();
  const LockedStock copy = stock;
  std::thread([&] { EXPECT_EQ(copy.count(), 5); }).join();
}

TEST(QVRSysMonitorTest, IsItselfTheLockAlsoOfAConstantObject) {
  Probe probe;
  const Probe& constant = probe;

  EXPECT_EQ(&constant.monitor(), &probe);
  EXPECT_EQ(&constant.monitor_temp(), &probe);
}

TEST(QVRSysMonitorTest, TakesAndGivesBackItsMutex) {
  Probe probe;
  EXPECT_EQ(&probe.mutex(), &probe.mutex_temp());

  probe.acquire();
  probe.mutex().acquire();
  EXPECT_EQ(giveBackAll(probe.mutex()), 2);
  probe.mutex().acquire();
  EXPECT_EQ(giveBackAll(probe), 1);
}

TEST(QVRSysMonitorTest, TellsOfMisuseAsItsMutexDoes) {
  Probe probe;
  const AssertRecorder asserts;

  probe.release();

  EXPECT_EQ(asserts.only(), kNotReleased);
}

TEST(QVRSysMonitorTest, NextHolderIsToldOfOneThatEnded) {
  for (const ThreadEnding& ending : threadEndings()) {
    Probe probe;
    ending.run([&] { probe.acquire(); });

    const AssertRecorder asserts;
    probe.acquire();
    EXPECT_EQ(asserts.only(), kNotAcquired) << ending.name;
    probe.release();
    probe.acquire();
    probe.release();
    EXPECT_EQ(asserts.all().size(), 1u) << ending.name;
  }
}

TEST(QVRSysMonitorTest, CanBeDestroyedWhileHeld) {
  const AssertRecorder asserts;
  {
    Probe own;
    own.acquire();
    Probe ended;
    std::thread([&] { ended.acquire(); }).join();
  }
  EXPECT_TRUE(asserts.all().empty());
}

TEST(QVRSysMonitorTest, FollowsItsModel) {
  Probe probe;
  expectToFollowItsModel(probe, {.foreignRelease = kNotReleased, .endedHolder = kNotAcquired});
}

TEST(QVRSysMonitorTest, UnlockGuardLetsItGo) {
  Probe probe;
  const QVRSysLockGuard guard(probe.monitor());
  {
    const QVRSysUnlockGuard unguarded(probe.monitor());
    std::thread([&] {
      probe.acquire();
      probe.release();
    }).join();
  }
  EXPECT_EQ(giveBackAll(probe), 1);
  probe.acquire();
}

}  // namespace
