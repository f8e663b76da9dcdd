// What functors without arguments own.
#pragma once

#include "QVRSystemExport.h"
#include "_QVRBaseFunctorBody.h"

/// The base of the bodies of QVRFunctor0. QVRMakeFunctor0() makes those that callers
/// usually need; a class of one's own defines the six operations and is given to a
/// QVRFunctor0 with `new`.
class QVRSYSTEM_API _QVRBaseFunctor0Body : public _QVRBaseFunctorBody {
 public:
  /// Calls the callee; whatever that throws comes through.
  virtual void invoke() = 0;

  /// @return a new body that is equal to this one, the caller's.
  virtual _QVRBaseFunctor0Body* clone() const = 0;

  ~_QVRBaseFunctor0Body() noexcept(false) override;
};
