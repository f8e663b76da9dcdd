// A symbol of a shared library, by its name.
#pragma once

#include <string>

#include "QVRDynamicLibraryHandle.h"
#include "QVRDynamicSymbolHandle.h"
#include "QVRSystemExport.h"

/// The handle of an exported symbol. Made as QVRDynamicSymbolHandle is.
class QVRSYSTEM_API QVRDynamicSymbol : public QVRDynamicSymbolHandle {
 public:
  using QVRDynamicSymbolHandle::QVRDynamicSymbolHandle;

  /// Empty.
  QVRDynamicSymbol() noexcept = default;

  QVRDynamicSymbol(const QVRDynamicSymbol&) noexcept = default;
  QVRDynamicSymbol(QVRDynamicSymbol&&) noexcept = default;
  QVRDynamicSymbol& operator=(const QVRDynamicSymbol&) noexcept = default;
  QVRDynamicSymbol& operator=(QVRDynamicSymbol&&) noexcept = default;
  ~QVRDynamicSymbol() override = default;

  /// As QVRDynamicSymbolHandle assigns a body.
  QVRDynamicSymbol& operator=(QVRDynamicSymbolImpl* body) noexcept {
    return *this = QVRDynamicSymbol(body);
  }

  /// The library that the symbol keeps. The handle is not empty.
  QVRDynamicLibraryHandle getLibrary() const;
};
