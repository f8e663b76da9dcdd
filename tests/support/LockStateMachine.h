// Long random sequences on a lock, compared with a plain model.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <random>
#include <thread>
#include <utility>
#include <vector>

#include "support/AssertRecorder.h"
#include "support/CommandedThread.h"
#include "support/TestSeed.h"

/// Where locks differ.
struct LockRules {
  bool isRecursive = true;
  bool hasOwner = true;  // otherwise anybody may release it
  bool sleeps = true;    // otherwise who waits for it keeps running
  /// What releasing without a hold reports.
  std::optional<AssertRecord> foreignRelease = std::nullopt;
  /// What the first to get the lock of a thread that ended reports. Without it no
  /// holder ends.
  std::optional<AssertRecord> endedHolder = std::nullopt;
};

/// Drives a lock by several threads, one operation at a time, as a plain model of
/// it says; threads that have to wait do so until the model lets one of them go on.
///
/// Where the lock has tryAcquire(), the threads ask for that too.
template <class Lock>
class LockStateMachine {
 public:
  LockStateMachine(Lock& lock, LockRules rules) : lock_(lock), rules_(std::move(rules)) {
    for (auto& member : members_) member = std::make_unique<CommandedThread>();
  }

  /// Leaves the lock free.
  void run(int steps) {
    for (int i = 0; i < steps && !testing::Test::HasFailure(); ++i) step();
    if (isAbandoned_) acquire(anyIdle());
    while (holder_ && !testing::Test::HasFailure()) release(rules_.hasOwner ? *holder_ : anyIdle());
  }

 private:
  static constexpr std::size_t kMembers = 4;

  void step() {
    const std::size_t member = anyIdle();
    const auto choice = random_() % 16;
    if (choice < 7) return acquire(member);
    if (choice < 13) return release(member);
    if (choice < 15) return tryAcquire(member);
    end(member);
  }

  std::size_t anyIdle() {
    std::size_t member = random_() % kMembers;
    while (isWaiting(member)) member = (member + 1) % kMembers;
    return member;
  }

  bool isWaiting(std::size_t member) const {
    return std::find(waiting_.begin(), waiting_.end(), member) != waiting_.end();
  }

  bool canHave(std::size_t member) const {
    return !holder_ || (rules_.isRecursive && *holder_ == member);
  }

  bool canRelease(std::size_t member) const {
    return holder_ && (!rules_.hasOwner || *holder_ == member);
  }

  void acquire(std::size_t member) {
    if (canHave(member)) {
      const AssertRecorder asserts;
      members_[member]->run([this] { lock_.acquire(); });
      hold(member, asserts);
    } else if (waiting_.size() + 1 < kMembers) {  // somebody has to release it
      members_[member]->start([this] { lock_.acquire(); });
      EXPECT_TRUE(!rules_.sleeps || members_[member]->sleeps());
      waiting_.push_back(member);
    }
    expectWaiting();
  }

  void tryAcquire(std::size_t member) {
    if constexpr (requires { lock_.tryAcquire(); }) {
      const AssertRecorder asserts;
      bool taken = false;
      members_[member]->run([&] { taken = lock_.tryAcquire(); });
      EXPECT_EQ(taken, canHave(member));
      if (taken) hold(member, asserts);
      expectWaiting();
    }
  }

  void hold(std::size_t member, const AssertRecorder& asserts) {
    EXPECT_EQ(asserts.all(), reports(rules_.endedHolder, isAbandoned_));
    depth_ = holder_ ? depth_ + 1 : 1;
    holder_ = member;
    isAbandoned_ = false;
  }

  void release(std::size_t member) {
    const bool held = canRelease(member);
    const AssertRecorder asserts;
    members_[member]->run([this] { lock_.release(); });
    if (held && --depth_ == 0) return passOn(asserts);
    EXPECT_EQ(asserts.all(), reports(rules_.foreignRelease, !held));
    expectWaiting();
  }

  void end(std::size_t member) {
    if (!rules_.endedHolder) return;
    const AssertRecorder asserts;
    members_[member] = std::make_unique<CommandedThread>();
    if (holder_ != member) return;
    isAbandoned_ = true;
    passOn(asserts);
  }

  // One of those that wait has the lock now, whichever it is.
  void passOn(const AssertRecorder& asserts) {
    holder_.reset();
    if (waiting_.empty()) return;
    const std::size_t next = awaitAnyWaiting();
    std::erase(waiting_, next);
    hold(next, asserts);
    expectWaiting();
  }

  std::size_t awaitAnyWaiting() const {
    for (;;) {
      for (const std::size_t member : waiting_) {
        if (!members_[member]->isBusy()) return member;
      }
      std::this_thread::yield();
    }
  }

  void expectWaiting() const {
    for (const std::size_t member : waiting_) EXPECT_TRUE(members_[member]->isBusy());
  }

  static std::vector<AssertRecord> reports(const std::optional<AssertRecord>& report, bool comes) {
    return report && comes ? std::vector{*report} : std::vector<AssertRecord>{};
  }

  Lock& lock_;
  const LockRules rules_;
  std::mt19937 random_{testSeed()};
  std::unique_ptr<CommandedThread> members_[kMembers];

  // The model.
  std::optional<std::size_t> holder_;
  bool isAbandoned_ = false;  // the last holder ended
  int depth_ = 0;
  std::vector<std::size_t> waiting_;
};

/// Runs a long sequence. The lock is free before and afterwards.
template <class Lock>
void expectToFollowItsModel(Lock& lock, const LockRules& rules) {
  constexpr int kSteps = 10'000;
  LockStateMachine(lock, rules).run(kSteps);
}
