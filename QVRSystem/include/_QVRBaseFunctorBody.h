// What every functor owns.
#pragma once

#include "QVRSystemExport.h"

/// The base of what functors own: an object that knows what it calls. Bodies of any
/// kinds compare with each other, first by callee.
///
/// The destructor may throw, so that a body can have members that throw when they let go.
class QVRSYSTEM_API _QVRBaseFunctorBody {
 public:
  _QVRBaseFunctorBody() = default;
  _QVRBaseFunctorBody(const _QVRBaseFunctorBody&) = default;
  _QVRBaseFunctorBody& operator=(const _QVRBaseFunctorBody&) = default;

  /// @return the address of the object or of the function that is called.
  virtual void* getCallee() const = 0;

  /// @return the address of the pointer to the member that is called, which is the
  ///   body's own; null where none is.
  virtual void* getMember() const = 0;

  /// Whether both call the same function of the same callee.
  virtual bool isEqual(const _QVRBaseFunctorBody& other) const = 0;

  /// Whether this one comes before the other: a strict order in which exactly equal
  /// bodies are equivalent, the same as long as the process lives.
  virtual bool isLess(const _QVRBaseFunctorBody& other) const = 0;

  virtual ~_QVRBaseFunctorBody() noexcept(false);
};
