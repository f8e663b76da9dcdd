// The locks that are free and consistent in the child of a fork.
#pragma once

#include "QVRRecursiveLock.h"

namespace qvr::internal {

/// The order in which a fork takes the locks of the library's class-wide data:
/// that in which the library itself nests them (docs/locking.md).
enum class ForkRank {
  TraceLines,
  LocaleInstance,
  LocaleProcess,
  TraceSettings,
  TimeZone,
  OrphanedMutexes,
  PoolCreation,
};

/// Puts a lock on the list that a fork takes before it and gives back after it,
/// in both processes. A static object beside the lock, which must last as long
/// as the process; it is never taken off.
class ForkLock {
 public:
  /// @param nativeLock what getNativeLock() of the lock answers.
  ForkLock(ForkRank rank, void* nativeLock) noexcept;

  ForkLock(const ForkLock&) = delete;
  ForkLock& operator=(const ForkLock&) = delete;

 private:
  friend class ForkLockList;

  const ForkRank rank_;
  RecursiveLockStorage& storage_;
  ForkLock* next_ = nullptr;  // written before any second thread can fork
};

}  // namespace qvr::internal
