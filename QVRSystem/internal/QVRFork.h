// The locks that are free and consistent in the child of a fork.
#pragma once

#include "QVRRecursiveLock.h"
#include "QVRSystem/internal/QVRBiasedLock.h"

namespace qvr::internal {

class NativeMutex;

/// The order in which a fork takes the locks of the library's class-wide data:
/// that in which the library itself nests them (docs/locking.md).
enum class ForkRank {
  TraceLines,
  LocaleInstance,
  LocaleProcess,
  TraceSettings,
  TimeZone,
  OrphanedMutexes,
  EndedThreads,
  ThreadAttribute,
  PoolCreation,
  PoolBuckets,
  Libraries,
  BodyList,
  Bodies,
};

/// Puts a lock, or all locks of one kind, on the list that a fork takes before it
/// and gives back after it, in both processes. A static object beside the lock,
/// which must last as long as the process; it is never taken off.
class ForkLock {
 public:
  /// What a fork does to each lock: one thing before it, others after it.
  class Action {
   public:
    virtual void operator()(RecursiveLock lock) const noexcept = 0;
    virtual void operator()(BiasedLock lock) const noexcept = 0;
    virtual void operator()(NativeMutex& monitor) const noexcept = 0;

   protected:
    ~Action() = default;
  };

  using ForEach = void (*)(const Action& action);

  /// @param nativeLock what getNativeLock() of the lock answers.
  ForkLock(ForkRank rank, void* nativeLock) noexcept;

  /// For locks that come and go while the process runs.
  /// @param forEach does the action to each lock that there is. A fork calls it while
  ///   it holds all locks of lower ranks: one of them guards which locks there are.
  ForkLock(ForkRank rank, ForEach forEach) noexcept;

  ForkLock(const ForkLock&) = delete;
  ForkLock& operator=(const ForkLock&) = delete;

 private:
  friend class ForkLockList;

  void apply(const Action& action) const;

  const ForkRank rank_;
  RecursiveLockStorage* const storage_ = nullptr;  // or else forEach_ is set
  const ForEach forEach_ = nullptr;
  ForkLock* next_ = nullptr;  // written before any second thread can fork
};

}  // namespace qvr::internal
