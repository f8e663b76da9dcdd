// The base of handles to bodies.
#pragma once

#include "QVRCountedBase.h"
#include "QVRSysBodyBase.h"
#include "QVRSystemExport.h"

/// The base of handles: values one pointer wide that share a body, or are empty. What a
/// handle offers is up to the derived class, which reaches the body through body().
/// Handles are equal where they share one body, and are in the order of its address.
///
/// Nothing throws; a body whose destructor throws ends the process.
///
/// @par Thread safety
/// As a pointer: handles of several threads may share one body, but a handle that is
/// written is used by one thread.
class QVRSYSTEM_API QVRSysHandleBase : public QVRCountedBase {
 public:
  /// Whether there is a body.
  bool isValid() const noexcept { return *this; }

 protected:
  /// Empty.
  QVRSysHandleBase() noexcept : QVRCountedBase(nullptr) {}

  /// @param body counted up; null for an empty handle.
  QVRSysHandleBase(QVRSysBodyBase* body) noexcept : QVRCountedBase(body) {}

  QVRSysHandleBase(const QVRSysHandleBase&) noexcept = default;
  QVRSysHandleBase(QVRSysHandleBase&&) noexcept = default;
  QVRSysHandleBase& operator=(const QVRSysHandleBase&) noexcept = default;
  QVRSysHandleBase& operator=(QVRSysHandleBase&&) noexcept = default;
  ~QVRSysHandleBase() = default;

  /// @return what the handle shares; null where it is empty.
  QVRSysBodyBase* body() const noexcept { return static_cast<QVRSysBodyBase*>(getReferent()); }
};
