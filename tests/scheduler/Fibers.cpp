#include "scheduler/Fibers.h"

#include <cxxabi.h>

#include <boost/context/protected_fixedsize_stack.hpp>
#include <memory>
#include <utility>

#include "scheduler/Sanitizer.h"

#ifdef QVR_SCHEDULER_UNDER_ASAN
#include <sanitizer/asan_interface.h>
#include <sanitizer/common_interface_defs.h>
#endif

namespace qvr::scheduler {

namespace {

constexpr std::size_t kStackSize = 256 * 1024;

#ifdef QVR_SCHEDULER_UNDER_ASAN

/// Tells AddressSanitizer on which stack the process goes on.
class StackChange {
 public:
  explicit StackChange(const boost::context::stack_context& next) {
    const auto* const top = static_cast<const char*>(next.sp);
    __sanitizer_start_switch_fiber(&state_, top - next.size, next.size);
  }
  void finish() { __sanitizer_finish_switch_fiber(state_, nullptr, nullptr); }

  /// For the first switch to a stack.
  static void finishFirst(boost::context::stack_context& previous) {
    const void* bottom = nullptr;
    __sanitizer_finish_switch_fiber(nullptr, &bottom, &previous.size);
    previous.sp = static_cast<char*>(const_cast<void*>(bottom)) + previous.size;
  }

  /// Nothing that lay on the stack is there any more.
  static void forget(const boost::context::stack_context& stack) {
    __asan_unpoison_memory_region(static_cast<char*>(stack.sp) - stack.size, stack.size);
  }

 private:
  void* state_ = nullptr;
};

#else

class StackChange {
 public:
  explicit StackChange(const boost::context::stack_context&) {}
  void finish() {}
  static void finishFirst(boost::context::stack_context&) {}
  static void forget(const boost::context::stack_context&) {}
};

#endif

}  // namespace

void Fibers::switchTo(unsigned next) {
  auto& exceptions = *reinterpret_cast<Exceptions*>(abi::__cxa_get_globals());
  const Exceptions mine = exceptions;
  if (!places_[next].fiber) start(next);
  previous_ = std::exchange(current_, next);

  StackChange change(places_[next].stack);
  boost::context::fiber from = std::move(places_[next].fiber).resume();
  change.finish();

  arrive(std::move(from));
  exceptions = mine;
}

void Fibers::arrive(boost::context::fiber&& from) noexcept {
  places_[previous_].fiber = std::move(from);
}

void Fibers::start(unsigned index) {
  Place& place = places_[index];
  if (place.stack.sp == nullptr) {
    place.stack = boost::context::protected_fixedsize_stack(kStackSize).allocate();
  }
  place.fiber = boost::context::fiber(
      std::allocator_arg, KeptStack{place.stack}, [this, index](boost::context::fiber&& from) {
        StackChange::finishFirst(places_[previous_].stack);
        arrive(std::move(from));
        *reinterpret_cast<Exceptions*>(abi::__cxa_get_globals()) = {};
        for (;;) work_(index);
        return boost::context::fiber();
      });
}

void Fibers::abandonAll() {
  for (Place& place : places_) {
    // Over the fiber, not by its assignment: that would unwind the stack.
    std::construct_at(&place.fiber);
    if (&place != &places_[kCaller] && place.stack.sp != nullptr) StackChange::forget(place.stack);
  }
}

}  // namespace qvr::scheduler
