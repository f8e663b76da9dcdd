// The in-process recursive lock beneath the fast mutex and the critical section.
#pragma once

#include <cstdint>

namespace qvr::internal {

/// What a recursive lock consists of. All zero is a valid, free lock.
using RecursiveLockStorage = std::uint32_t[2];

/// A recursive lock in somebody's storage, which it neither makes nor destroys.
///
/// The first word is the holder's thread identifier, 0 where there is none; its
/// top bit says that somebody may sleep on it. The second counts the holds
/// beyond the first and belongs to the holder. Identifiers of the kernel stay
/// below 2^22, so the bit is free.
///
/// @par Thread safety
/// Any thread may call any operation but restamp().
/// @par Cost
/// Without contention one atomic exchange to take the lock and one to give it
/// back, none for a nested hold; the kernel is entered only to sleep or to wake.
class RecursiveLock {
 public:
  explicit RecursiveLock(RecursiveLockStorage& storage) noexcept
      : word_(storage[0]), depth_(storage[1]) {}

  void acquire() noexcept;

  /// @return whether the caller holds the lock now.
  bool tryAcquire() noexcept;

  /// Gives one hold back. Of a lock that the caller does not hold, changes nothing.
  /// @return whether the caller held it.
  bool release() noexcept;

  /// Makes the lock free, whoever held it.
  void reset() noexcept;

  /// Passes a lock of the thread `from` to the thread `to`, with all its holds:
  /// after a fork, one thread under another identifier.
  void restamp(std::uint32_t from, std::uint32_t to) noexcept;

 private:
  void acquireSlowly(std::uint32_t self) noexcept;

  std::uint32_t& word_;
  std::uint32_t& depth_;
};

}  // namespace qvr::internal
