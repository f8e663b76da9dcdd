// A function of a shared library that takes nothing and returns nothing.
#pragma once

#include "QVRDynamicSymbol.h"
#include "QVRSystemExport.h"

/// The handle of an exported function without arguments and result. Made as
/// QVRDynamicSymbolHandle is.
class QVRSYSTEM_API QVRDynamicFunction0 : public QVRDynamicSymbol {
 public:
  using QVRDynamicSymbol::QVRDynamicSymbol;

  /// Empty.
  QVRDynamicFunction0() noexcept = default;

  QVRDynamicFunction0(const QVRDynamicFunction0&) noexcept = default;
  QVRDynamicFunction0(QVRDynamicFunction0&&) noexcept = default;
  QVRDynamicFunction0& operator=(const QVRDynamicFunction0&) noexcept = default;
  QVRDynamicFunction0& operator=(QVRDynamicFunction0&&) noexcept = default;
  ~QVRDynamicFunction0() override;

  /// As QVRDynamicSymbolHandle assigns a body.
  QVRDynamicFunction0& operator=(QVRDynamicSymbolImpl* body) noexcept {
    return *this = QVRDynamicFunction0(body);
  }

  /// Does nothing: the function is not called. Whoever wants to call it derives a class as
  /// QVRDynamicSymbolHandle shows.
  void operator()() const;
};
