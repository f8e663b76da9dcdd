// The lock of class-wide data.
#pragma once

#include <cstdint>

#include "QVRAtomicAccess.h"
#include "QVRGuardHold.h"
#include "QVRRecursiveLock.h"
#include "QVRSystemExport.h"
#include "QVRThreadAnnotations.h"

/// Chooses the constructors of objects of static storage duration.
struct QVRStaticObject {};

/// A recursive lock inside the process that works before its constructor has
/// run, in storage of zeros, and after its destructor has: static initialisers
/// and finalisers may use it in any order.
///
/// The constructor always starts afresh and forgets what an earlier use left.
/// Holds nest at least 2147483647 deep. Nothing here throws.
///
/// @par Thread safety
/// Any thread may call acquire(), release() and getNativeLock(), the first use
/// of storage of zeros included. Construction and destruction are one thread's.
/// @par Cost
/// Without contention one atomic exchange each way; a thread that finds the lock
/// held sleeps in the kernel.
class QVRSYSTEM_API QVR_CAPABILITY("mutex") QVRSysFastMutexLock {
 public:
  class LockGuard;
  class UnlockGuard;

  QVRSysFastMutexLock() noexcept;
  explicit QVRSysFastMutexLock(QVRStaticObject) noexcept;

  /// Forgets every hold; the next acquire() or release() initialises again.
  virtual ~QVRSysFastMutexLock();

  QVRSysFastMutexLock(const QVRSysFastMutexLock&) = delete;
  QVRSysFastMutexLock& operator=(const QVRSysFastMutexLock&) = delete;

  /// Waits until no other thread holds the lock and holds it once more.
  void acquire() noexcept QVR_ACQUIRE() {
    initialize();
    qvr::internal::RecursiveLock(native_).acquire();
  }

  /// Gives one hold back. Where the caller holds none, changes nothing.
  void release() noexcept QVR_RELEASE() {
    initialize();
    qvr::internal::RecursiveLock(native_).release();
  }

  /// The native lock within this object, as long as that lives.
  void* getNativeLock() const noexcept { return &native_; }

 protected:
  /// Initialises the native lock unless that is done.
  void initialize() noexcept {
    const std::uint32_t seen = State(state_).load(std::memory_order_relaxed);
    if (seen != kInitialised) [[unlikely]]
      initializeFrom(seen);
  }

  /// Deletes the native lock if it was ever initialised.
  void finalize() noexcept;

  /// Takes the lock if no other thread holds it; never waits and never
  /// initialises. @return whether the caller holds it now.
  bool tryAcquireNative() noexcept QVR_TRY_ACQUIRE(true) {
    return qvr::internal::RecursiveLock(native_).tryAcquire();
  }

 private:
  using State = qvr::internal::AtomicRef<std::uint32_t>;

  static constexpr std::uint32_t kNotInitialised = 0;
  static constexpr std::uint32_t kInitialised = 0xFACE0001;

  void start() noexcept;
  void initializeFrom(std::uint32_t seen) noexcept;

  std::uint32_t state_;  // kInitialised, or else not initialised
  mutable qvr::internal::RecursiveLockStorage native_;
};

/// Holds a fast mutex for a scope, or for as much of it as acquire() and
/// release() say. Never takes it or gives it back twice.
class QVRSYSTEM_API QVR_SCOPED_CAPABILITY QVRSysFastMutexLock::LockGuard {
 public:
  explicit LockGuard(QVRSysFastMutexLock& lock) noexcept QVR_ACQUIRE(lock);
  ~LockGuard() QVR_RELEASE();

  LockGuard(const LockGuard&) = delete;
  LockGuard& operator=(const LockGuard&) = delete;

  void acquire() noexcept QVR_ACQUIRE();
  void release() noexcept QVR_RELEASE();
  /// Whether this guard holds the lock at present.
  bool isAcquired() const noexcept { return hold_.isAcquired(); }

 private:
  qvr::internal::GuardHold<QVRSysFastMutexLock, &QVRSysFastMutexLock::acquire> hold_;
};

/// Lets go of a fast mutex that its thread holds, for a scope, or until
/// acquire() takes it back. Never takes it or gives it back twice.
class QVRSYSTEM_API QVRSysFastMutexLock::UnlockGuard {
 public:
  explicit UnlockGuard(QVRSysFastMutexLock& lock) noexcept;
  ~UnlockGuard();

  UnlockGuard(const UnlockGuard&) = delete;
  UnlockGuard& operator=(const UnlockGuard&) = delete;

  void acquire() noexcept;
  void release() noexcept;
  /// Whether the lock is held again.
  bool isAcquired() const noexcept { return hold_.isAcquired(); }

 private:
  qvr::internal::GuardHold<QVRSysFastMutexLock, &QVRSysFastMutexLock::acquire> hold_;
};
