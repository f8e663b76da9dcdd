// What shares a shared library.
#pragma once

#include "QVRDynamicLibraryImpl.h"
#include "QVROSLibraryHandle.h"
#include "QVRSysHandleBase.h"
#include "QVRSystemExport.h"

/// Shares a library, and keeps it. Callers work with QVRDynamicLibrary.
class QVRSYSTEM_API QVRDynamicLibraryHandle : public QVRSysHandleBase {
 public:
  /// Empty.
  QVRDynamicLibraryHandle() noexcept = default;

  /// Shares the body; null for an empty handle.
  QVRDynamicLibraryHandle(QVRDynamicLibraryImpl* body) noexcept : QVRSysHandleBase(body) {}

  QVRDynamicLibraryHandle(const QVRDynamicLibraryHandle&) noexcept = default;
  QVRDynamicLibraryHandle(QVRDynamicLibraryHandle&&) noexcept = default;
  QVRDynamicLibraryHandle& operator=(const QVRDynamicLibraryHandle&) noexcept = default;
  QVRDynamicLibraryHandle& operator=(QVRDynamicLibraryHandle&&) noexcept = default;
  ~QVRDynamicLibraryHandle() = default;

  /// Shares another body, counted before the old one is let go; null empties the handle.
  QVRDynamicLibraryHandle& operator=(QVRDynamicLibraryImpl* body) noexcept {
    return *this = QVRDynamicLibraryHandle(body);
  }

  /// As QVRDynamicLibraryImpl::getHandle(). The handle is not empty.
  QVROSLibraryHandle getOSLibraryHandle() const;

 protected:
  friend class QVRDynamicSymbolImpl;  // shares one with its library

  QVRDynamicLibraryImpl* body() const noexcept {
    return static_cast<QVRDynamicLibraryImpl*>(QVRSysHandleBase::body());
  }
};
