// What gives an object a lock of its own.
#pragma once

#include "QVRSysIMutexLock.h"
#include "QVRSysMutexLock.h"
#include "QVRSystemExport.h"
#include "QVRThreadAnnotations.h"

/// The base of classes whose objects lock themselves. Everything but the interface
/// is for the derived class; guards take monitor():
///
/// @code
/// long Stock::count() const {
///   const QVRSysLockGuard guard(monitor());
///   return count_;
/// }
/// @endcode
///
/// Has no virtual destructor and is neither copied nor moved; a derived class that
/// defines its own copy gives it a fresh monitor.
///
/// @par Thread safety
/// Any thread may call any operation.
class QVRSYSTEM_API QVRSysMonitor : public QVRSysIMutexLock {
 protected:
  /// @throws QVREInternalError as QVRSysMutexLock does.
  QVRSysMonitor() : mutex_(true) {}
  ~QVRSysMonitor() = default;

  QVRSysMonitor(const QVRSysMonitor&) = delete;
  QVRSysMonitor& operator=(const QVRSysMonitor&) = delete;

  /// As QVRSysMutexLock::acquire().
  void acquire() override QVR_ACQUIRE();
  /// As QVRSysMutexLock::release().
  void release() override QVR_RELEASE();

  /// The mutex, for conditions.
  QVRSysMutexLock& mutex() noexcept { return mutex_; }
  QVRSysMutexLock& mutex_temp() noexcept { return mutex_; }

  /// This object as a lock; of a constant one too, so that operations that only
  /// read can hold it.
  QVRSysMonitor& monitor() const noexcept { return const_cast<QVRSysMonitor&>(*this); }
  QVRSysMonitor& monitor_temp() const noexcept { return monitor(); }

 private:
  QVRSysMutexLock mutex_;
};
