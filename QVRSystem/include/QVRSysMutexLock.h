// The lock that conditions work with, and that outlives its holders.
#pragma once

#include "QVRSysIMutexLock.h"
#include "QVRSystemExport.h"
#include "QVRThreadAnnotations.h"

namespace qvr::internal {
class BufferEndHold;
class NativeMutex;
}  // namespace qvr::internal

/// A recursive lock that is not lost with its holder: where a thread ends while it
/// holds one, the next to get it is told. Holds nest 4294967295 deep.
///
/// Misuse and failures of the system are reported through QVRReportAssert(),
/// category "Assertion"; the operation then returns, and the lock stays usable.
///
/// @par Thread safety
/// Any thread may call acquire(), release() and getNativeLock(). The other
/// operations are one thread's; a lock that is held may be destroyed, which
/// forgets its holds, one that is waited for may not.
/// @par Cost
/// A block of memory per lock. Taking and giving back cost what they cost with the
/// system's robust mutex, a nested hold a few instructions.
class QVRSYSTEM_API QVRSysMutexLock : public QVRSysIMutexLock {
 public:
  /// @param recursive without meaning: the lock is recursive either way.
  /// @throws QVREInternalError "Mutex Initialization failed" (line 188) if the
  ///   system refuses a mutex; nothing is left behind.
  explicit QVRSysMutexLock(bool recursive = true);

  /// Forgets every hold. Reports "result != 0" (line 244) if closing fails.
  virtual ~QVRSysMutexLock();

  QVRSysMutexLock(const QVRSysMutexLock&) = delete;
  QVRSysMutexLock& operator=(const QVRSysMutexLock&) = delete;

  /// Waits until no other thread holds the lock and holds it once more. Where the
  /// last holder ended without giving it back, reports
  /// "result == ((((DWORD )0x00000000L) ) + 0 )" (line 74), once, and holds it
  /// once; reports the same, and holds nothing, where the system fails.
  void acquire() override QVR_ACQUIRE();

  /// Gives one hold back. Reports "result != 0" (line 136), and changes nothing,
  /// where the caller holds none or the system fails.
  void release() override QVR_RELEASE();

  /// The address of the native handle within this object.
  void* getNativeLock() const noexcept;

 protected:
  /// Makes the native mutex as the constructor does, free; one that is there
  /// already is closed. Where it throws, that one stays.
  void initialize();

  /// Closes the native mutex; reports "result != 0" (line 244) if that fails or
  /// there is none.
  void finalize();

 private:
  friend class qvr::internal::BufferEndHold;  // asks who holds it
  friend class QVRSysCondition;               // gives back one hold and takes it again, silently

  mutable qvr::internal::NativeMutex* native_ = nullptr;  // owned; null once closed
};
