// A symbol of a shared library.
#pragma once

#include <string>

#include "QVRDynamicLibraryHandle.h"
#include "QVRForkedBody.h"
#include "QVRNamedEntry.h"
#include "QVRSysBodyBase.h"
#include "QVRSystemExport.h"

class QVRDynamicLibrary;

/// An exported symbol and its address, shared through QVRDynamicSymbol; keeps its library.
///
/// @par Thread safety
/// Any thread may call any operation. Each waits until nobody else holds the monitor; in the
/// child of a fork that is free, unless the child's own thread held it.
class QVRSYSTEM_API QVRDynamicSymbolImpl : public QVRSysBodyBase {
 public:
  /// Opens the library if it is closed. The library's table does not learn of the symbol.
  /// @param library not empty.
  /// @throws what QVRDynamicLibraryImpl::getSymbol() throws.
  QVRDynamicSymbolImpl(const QVRDynamicLibrary& library, const std::string& name);

  /// The same with a new library, as QVRDynamicLibraryImpl makes it.
  QVRDynamicSymbolImpl(const std::string& path, const std::string& name);

  /// Leaves the table of its library.
  ~QVRDynamicSymbolImpl() noexcept override;

  QVRDynamicSymbolImpl(const QVRDynamicSymbolImpl&) = delete;
  QVRDynamicSymbolImpl& operator=(const QVRDynamicSymbolImpl&) = delete;

  /// The address; never null.
  void* getImpl() const;

  std::string getName() const;
  QVRDynamicLibraryHandle getLibrary() const;

 protected:
  // The same, for whoever has the monitor.
  void* _getImpl() const;
  std::string _getName() const;
  QVRDynamicLibraryHandle _getLibrary() const;

 private:
  friend class QVRDynamicLibraryImpl;
  friend struct QVRDynamicSymbolImplTestAccess;

  QVRDynamicSymbolImpl(QVRDynamicLibraryImpl& library, const std::string& name, void* address);

  qvr::internal::NamedEntry entry_;  // by the name, in the table of the library
  void* const address_;
  const QVRDynamicLibraryHandle library_;
  const qvr::internal::ForkedBody forked_;
};
