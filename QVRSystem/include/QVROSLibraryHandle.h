// A shared library as the system has loaded it, and the handle that shares it.
#pragma once

#include <string>

#include "QVROSLibraryImpl.h"
#include "QVRSysHandleBase.h"
#include "QVRSystemExport.h"

/// Shares one load of a library. See QVROSLibraryImpl; the operations need a handle that is
/// not empty.
class QVRSYSTEM_API QVROSLibraryHandle : public QVRSysHandleBase {
 public:
  /// Empty.
  QVROSLibraryHandle() noexcept = default;

  /// Shares the body; null for an empty handle.
  QVROSLibraryHandle(QVROSLibraryImpl* body) noexcept : QVRSysHandleBase(body) {}

  /// Has the system load the library, whoever else has loaded it.
  /// @throws what QVROSLibraryImpl throws.
  explicit QVROSLibraryHandle(const std::string& path);

  QVROSLibraryHandle(const QVROSLibraryHandle&) noexcept = default;
  QVROSLibraryHandle(QVROSLibraryHandle&&) noexcept = default;
  QVROSLibraryHandle& operator=(const QVROSLibraryHandle&) noexcept = default;
  QVROSLibraryHandle& operator=(QVROSLibraryHandle&&) noexcept = default;
  ~QVROSLibraryHandle() = default;

  /// Shares another body, counted before the old one is let go; null empties the handle.
  QVROSLibraryHandle& operator=(QVROSLibraryImpl* body) noexcept {
    return *this = QVROSLibraryHandle(body);
  }

  /// As QVROSLibraryImpl::getOSLibrary().
  void* getOSLibrary() const;

  /// As QVROSLibraryImpl::getOSSymbol().
  void* getOSSymbol(const std::string& name) const;

 protected:
  QVROSLibraryImpl* body() const noexcept {
    return static_cast<QVROSLibraryImpl*>(QVRSysHandleBase::body());
  }
};
