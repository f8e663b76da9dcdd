// What shares a symbol of a shared library.
#pragma once

#include <string>

#include "QVRDynamicLibrary.h"
#include "QVRDynamicSymbolImpl.h"
#include "QVRSysHandleBase.h"
#include "QVRSystemExport.h"

/// Shares a symbol, and keeps it and its library. The base of classes that call what a symbol
/// stands for, with the signature that they know:
///
/// @code
/// class Checksum : public QVRDynamicSymbolHandle {
///  public:
///   using QVRDynamicSymbolHandle::QVRDynamicSymbolHandle;
///
///   std::uint32_t operator()(const char* bytes, std::size_t size) const {
///     using Function = std::uint32_t (*)(const char*, std::size_t);
///     return reinterpret_cast<Function>(body()->getImpl())(bytes, size);
///   }
/// };
/// @endcode
class QVRSYSTEM_API QVRDynamicSymbolHandle : public QVRSysHandleBase {
 public:
  /// Empty.
  QVRDynamicSymbolHandle() noexcept = default;

  /// Shares the body; null for an empty handle.
  QVRDynamicSymbolHandle(QVRDynamicSymbolImpl* body) noexcept : QVRSysHandleBase(body) {}

  /// Shares what library.getSymbol(name) gives. @param library not empty.
  /// @throws what QVRDynamicLibraryImpl::getSymbol() throws.
  QVRDynamicSymbolHandle(const QVRDynamicLibrary& library, const std::string& name);

  /// The same with what QVRDynamicLibrary::getLibrary(path) gives, and throws.
  QVRDynamicSymbolHandle(const std::string& path, const std::string& name);

  QVRDynamicSymbolHandle(const QVRDynamicSymbolHandle&) noexcept = default;
  QVRDynamicSymbolHandle(QVRDynamicSymbolHandle&&) noexcept = default;
  QVRDynamicSymbolHandle& operator=(const QVRDynamicSymbolHandle&) noexcept = default;
  QVRDynamicSymbolHandle& operator=(QVRDynamicSymbolHandle&&) noexcept = default;
  virtual ~QVRDynamicSymbolHandle() = default;

  /// Shares another body, counted before the old one is let go; null empties the handle.
  QVRDynamicSymbolHandle& operator=(QVRDynamicSymbolImpl* body) noexcept {
    return *this = QVRDynamicSymbolHandle(body);
  }

 protected:
  QVRDynamicSymbolImpl* body() const noexcept {
    return static_cast<QVRDynamicSymbolImpl*>(QVRSysHandleBase::body());
  }
};
