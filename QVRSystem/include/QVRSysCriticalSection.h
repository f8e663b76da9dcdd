// A recursive lock inside the process.
#pragma once

#include <cstdint>

#include "QVRRecursiveLock.h"
#include "QVRSysIMutexLock.h"
#include "QVRSystemExport.h"
#include "QVRThreadAnnotations.h"

namespace qvr::internal {
class ShortHold;
}  // namespace qvr::internal

/// A recursive lock inside the process, lighter than QVRSysMutexLock: without
/// contention it enters no kernel, and a holder that ends leaves it held for ever.
/// Holds nest at least 2147483647 deep. Allocates, throws and reports nothing.
///
/// @par Thread safety
/// Any thread may call acquire(), release() and getNativeLock(); the other
/// operations are one thread's.
/// @par Cost
/// Without contention one atomic exchange each way; a thread that finds the lock
/// held sleeps in the kernel.
class QVRSYSTEM_API QVRSysCriticalSection : public QVRSysIMutexLock {
 public:
  /// @param recursive without meaning: the lock is recursive either way.
  explicit QVRSysCriticalSection(bool recursive = true) noexcept;

  /// Forgets every hold.
  virtual ~QVRSysCriticalSection();

  QVRSysCriticalSection(const QVRSysCriticalSection&) = delete;
  QVRSysCriticalSection& operator=(const QVRSysCriticalSection&) = delete;

  /// Waits until no other thread holds the lock and holds it once more.
  void acquire() override QVR_ACQUIRE() { qvr::internal::RecursiveLock(native_).acquire(); }

  /// Gives one hold back. Where the caller holds none, changes nothing.
  void release() override QVR_RELEASE() { qvr::internal::RecursiveLock(native_).release(); }

  /// The native critical section within this object, as long as that lives.
  void* getNativeLock() const noexcept { return &native_; }

 protected:
  /// Makes the native critical section free, whoever held it.
  void initialize() noexcept;

  /// Deletes it: forgets every hold.
  void finalize() noexcept;

 private:
  friend class qvr::internal::ShortHold;  // takes it without a call

  mutable qvr::internal::RecursiveLockStorage native_ = {};
};
