// One schedule under way.
#pragma once

#include <cstdint>
#include <string>

#include "scheduler/Fibers.h"
#include "scheduler/QVRScheduler.h"
#include "scheduler/SchedulingPoint.h"
#include "scheduler/Strategy.h"
#include "scheduler/Trace.h"

namespace qvr::scheduler {

/// Runs the threads of a scenario on fibers, one at a time, as a strategy says.
///
/// There is one in the process, used for one schedule after the other, so that
/// fibers and memory are at hand.
class Execution {
 public:
  static Execution& instance();

  Execution(const Execution&) = delete;
  Execution& operator=(const Execution&) = delete;

  /// Sets the scenario up, runs its threads and its checks, and takes it down.
  /// @return whether nothing failed.
  bool run(const std::function<void(Trial&)>& scenario, Strategy& strategy,
           std::uint32_t stepLimit);

  /// Records a failure, the first of a schedule only. Does not return to a thread.
  void fail(std::string text);

  /// Passes an assertion on to the scenario.
  void report(const Assertion& assertion);

  const std::string& failure() const noexcept { return failure_; }
  std::uint32_t steps() const noexcept { return trace_.size(); }

  /// The steps in words, of a schedule that failed or where `keepTrace` was set.
  const std::string& traceText() const noexcept { return traceText_; }
  void keepTrace(bool keep) noexcept { keepsTrace_ = keep; }

  // What SchedulingPoint.h says of them.
  void point(Operation operation, const void* word);
  void note(std::uint64_t before, std::uint64_t after) noexcept { trace_.note(before, after); }
  void sleepOn(const void* address);
  bool wakeOne(const void* address);
  bool wakeAll(const void* address);
  void sleepAgain(const void* address);
  void yieldToOthers();
  bool happensForNoReason() { return strategy_->happensForNoReason(); }
  unsigned current() const noexcept { return fibers_.current(); }
  std::uint32_t& shortSections() noexcept { return threads_[current()].shortSections; }
  std::uint32_t*& deferredWake() noexcept { return threads_[current()].deferredWake; }

 private:
  struct Thread {
    const void* sleepsOn = nullptr;
    ThreadSet goesAfter = 0;  // those that it yielded to and that did nothing since
    bool fresh = true;        // it was chosen for the operation that it comes to next
    std::uint32_t shortSections = 0;
    std::uint32_t* deferredWake = nullptr;
  };

  Execution();

  void prepare(Strategy& strategy, std::uint32_t stepLimit);
  void runThreads();
  void runChecks();
  void takeDown();
  void threadMain(unsigned index);
  void runBody(unsigned index);
  void end(unsigned index);

  void enter(unsigned thread);
  ThreadSet ready() const noexcept;
  ThreadSet sleepersAt(const void* address) const noexcept;
  void handOver();
  void checkInvariants();
  void countStep(Operation operation, const void* word);
  std::string standstill() const;
  std::string nameOf(const void* word, const std::vector<const void*>& words) const;

  Trial trial_;
  Trace trace_;
  Fibers fibers_;
  Strategy* strategy_ = nullptr;
  std::uint32_t stepLimit_ = 0;
  Thread threads_[kMaxThreads + 1];  // the last stands for the caller
  ThreadSet alive_ = 0;              // those that have not ended
  ThreadSet awake_ = 0;              // those of them that do not sleep
  ThreadSet idle_ = 0;               // those that run only while no other can
  ThreadSet yielding_ = 0;           // those that go after others
  std::string failure_;
  std::string traceText_;
  bool keepsTrace_ = false;
};

/// Makes the mutexes that a thread holds abandoned ones, as it ends.
void abandonMutexesOf(std::uint32_t threadNumber);

/// Whether there are mutexes of the platform that were not closed.
bool hasMutexes();

/// Forgets the mutexes that a failed schedule leaves behind.
void forgetMutexes();

}  // namespace qvr::scheduler
