// Refuses memory on demand.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <new>

/// Makes one allocation of the calling thread fail within a scope: the throwing
/// forms of operator new throw std::bad_alloc, the others answer null. Other
/// threads get their memory meanwhile. One at a time on a thread.
///
/// Counts and refuses what goes through the global operator new, the library's
/// allocations and those of the standard library included; malloc is left alone.
///
/// A program that uses this links QVRAllocationRefuser, which replaces every
/// global operator new and delete.
///
/// @code
/// {
///   const AllocationRefuser refuser(2);  // the second one from here on
///   EXPECT_EQ(exception.clone(), nullptr);
/// }
/// @endcode
class AllocationRefuser {
 public:
  /// @param number of the allocation to refuse, from 1; 0 refuses none and only
  ///   counts.
  explicit AllocationRefuser(std::size_t number) noexcept;
  ~AllocationRefuser();

  AllocationRefuser(const AllocationRefuser&) = delete;
  AllocationRefuser& operator=(const AllocationRefuser&) = delete;

  /// Allocations of this thread since, the refused one included.
  std::size_t count() const noexcept;

  /// Whether the allocation to refuse has come and was refused.
  bool hasRefused() const noexcept;
};

/// Tells an action the size of each allocation of the calling thread within a scope,
/// before it is served. What the action itself allocates is not told. One at a time on a
/// thread.
class AllocationObserver {
 public:
  explicit AllocationObserver(std::function<void(std::size_t size)> action);
  ~AllocationObserver();

  AllocationObserver(const AllocationObserver&) = delete;
  AllocationObserver& operator=(const AllocationObserver&) = delete;

 private:
  const std::function<void(std::size_t)> action_;
};

/// Runs `operation` again and again and refuses its first allocation, then its
/// second and so on until it needs no more. Expects std::bad_alloc each time and
/// calls `afterRefusal`, for which nothing is refused.
/// @return how many allocations were refused.
template <class Operation, class AfterRefusal>
std::size_t refuseEachAllocation(Operation operation, AfterRefusal afterRefusal) {
  for (std::size_t number = 1;; ++number) {
    bool refused = false;
    bool thrown = false;
    {
      const AllocationRefuser refuser(number);
      try {
        operation();
      } catch (const std::bad_alloc&) {
        thrown = true;
      }
      refused = refuser.hasRefused();
    }
    EXPECT_EQ(thrown, refused) << "allocation " << number;
    if (!refused) return number - 1;
    afterRefusal();
  }
}

/// The same, where nothing is to be looked at after a refusal.
template <class Operation>
std::size_t refuseEachAllocation(Operation operation) {
  return refuseEachAllocation(operation, [] {});
}
