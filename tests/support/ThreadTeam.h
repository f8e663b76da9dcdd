// Threads that do what a test orders, one thing after the other.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

/// A number of threads under the command of the test's own, by which a sequence
/// of one thread can be that of several owners.
///
/// Everything that a member does happens before await() of it returns. At the end
/// no member may be busy with what never ends.
class ThreadTeam {
 public:
  using Order = std::function<void()>;

  explicit ThreadTeam(std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) members_.push_back(std::make_unique<Member>(changes_));
  }

  ThreadTeam(const ThreadTeam&) = delete;
  ThreadTeam& operator=(const ThreadTeam&) = delete;

  std::size_t size() const { return members_.size(); }

  /// Has an idle member begin the order and waits for nothing.
  void begin(std::size_t member, Order order) { members_[member]->begin(std::move(order)); }

  bool isBusy(std::size_t member) const { return members_[member]->isBusy(); }

  /// Waits until the member is idle.
  void await(std::size_t member) { awaitAny({member}); }

  /// Waits until one of the members is idle. @return that one.
  std::size_t awaitAny(const std::vector<std::size_t>& members) {
    for (;;) {
      const int seen = changes_;
      const auto idle = std::find_if(members.begin(), members.end(),
                                     [&](std::size_t member) { return !isBusy(member); });
      if (idle != members.end()) return *idle;
      changes_.wait(seen);
    }
  }

  /// Has an idle member do it and waits until it is done.
  void run(std::size_t member, Order order) {
    begin(member, std::move(order));
    await(member);
  }

  /// Ends an idle member's thread and puts a new one in its place.
  void replace(std::size_t member) {
    members_[member].reset();
    members_[member] = std::make_unique<Member>(changes_);
  }

 private:
  class Member {
   public:
    explicit Member(std::atomic<int>& changes) : changes_(changes) {}

    ~Member() {
      change(kEnding);
      thread_.join();
    }

    Member(const Member&) = delete;
    Member& operator=(const Member&) = delete;

    void begin(Order order) {
      order_ = std::move(order);
      change(kBusy);
    }

    bool isBusy() const { return state_ == kBusy; }

   private:
    enum State : int { kIdle, kBusy, kEnding };

    void change(State state) {
      state_ = state;
      state_.notify_all();
    }

    void obey() {
      for (;;) {
        state_.wait(kIdle);
        if (state_ == kEnding) return;
        order_();
        change(kIdle);
        ++changes_;
        changes_.notify_all();
      }
    }

    std::atomic<int>& changes_;
    Order order_;  // the thread's while it is busy
    std::atomic<int> state_ = kIdle;
    std::thread thread_{&Member::obey, this};
  };

  std::atomic<int> changes_ = 0;  // members that became idle
  std::vector<std::unique_ptr<Member>> members_;
};
