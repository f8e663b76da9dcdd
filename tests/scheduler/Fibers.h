// The fibers on which the threads of a scenario run.
#pragma once

#include <boost/context/fiber.hpp>
#include <boost/context/stack_context.hpp>
#include <cstddef>
#include <functional>

#include "scheduler/Strategy.h"

namespace qvr::scheduler {

/// A few fibers and whoever uses them, handing the processor to each other.
///
/// A fiber and its stack serve one schedule after the other. One that is
/// abandoned in the middle of its work is not unwound: what it calls is noexcept
/// in places. It starts anew, on the same stack.
class Fibers {
 public:
  static constexpr unsigned kCaller = kMaxThreads;

  /// @param work what each fiber does when it is first switched to, and again
  ///   when it is switched to after that. It switches away at its end.
  explicit Fibers(std::function<void(unsigned fiber)> work) : work_(std::move(work)) {}

  Fibers(const Fibers&) = delete;
  Fibers& operator=(const Fibers&) = delete;

  /// Who runs; kCaller where no fiber does.
  unsigned current() const noexcept { return current_; }

  /// Goes on in another fiber or the caller; returns when something switches back.
  void switchTo(unsigned next);

  /// Forgets where the fibers are. To be called by the caller.
  void abandonAll();

 private:
  /// What the C++ run-time keeps of the exceptions under way, which belongs to
  /// each fiber.
  struct Exceptions {
    void* caught;
    unsigned uncaught;
  };

  struct Place {
    boost::context::fiber fiber;  // where it goes on; empty while it runs
    boost::context::stack_context stack;
  };

  /// Hands a fiber the stack that it has already.
  struct KeptStack {
    boost::context::stack_context stack;
    boost::context::stack_context allocate() const { return stack; }
    void deallocate(boost::context::stack_context&) const {}
  };

  void start(unsigned index);
  void arrive(boost::context::fiber&& from) noexcept;

  const std::function<void(unsigned)> work_;
  Place places_[kMaxThreads + 1];
  unsigned current_ = kCaller;
  unsigned previous_ = kCaller;
};

}  // namespace qvr::scheduler
