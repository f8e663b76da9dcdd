// What several handles share.
#pragma once

#include "QVRCountedObject.h"
#include "QVRSysMonitor.h"
#include "QVRSystemExport.h"

/// The base of bodies: objects that lock themselves and live as long as a handle, derived
/// from QVRSysHandleBase, refers to them. Operations of a body hold its monitor:
///
/// @code
/// void StockBody::add(long count) {
///   const QVRSysLockGuard guard(monitor());
///   count_ += count;
/// }
/// @endcode
///
/// In the records of dynamic classes a body is a QVRCountedObject.
class QVRSYSTEM_API QVRSysBodyBase : public QVRSysMonitor, public QVRCountedObject {
 public:
  /// Has no owner yet. @throws QVREInternalError as QVRSysMutexLock does.
  QVRSysBodyBase() = default;

  /// Copies the counted part as QVRCountedObject does, the count included, and has a
  /// monitor of its own that nobody holds. @throws as above.
  QVRSysBodyBase(const QVRSysBodyBase& other);

  /// Assigns the counted part only, unless it assigns itself.
  QVRSysBodyBase& operator=(const QVRSysBodyBase& other) noexcept;

  ~QVRSysBodyBase() noexcept(false) override;
};
