// What functors have in common, whatever their arguments.
#pragma once

#include "QVRSystemExport.h"
#include "_QVRBaseFunctorBody.h"

/// The base of the functors: values that own a body, or are empty. Compares them and
/// tells what they call; the classes below call it.
///
/// Equal functors call the same function of the same object; of an inline function, modules
/// with hidden symbols may each have their own. Empty ones are equal and come before all
/// others. The order holds as long as the process lives.
///
/// Throws what operations of the body throw; those that QVRMakeFunctor0() makes throw
/// nothing here.
///
/// @par Thread safety
/// As an int: any thread may read, one may change a functor that no other uses.
class QVRSYSTEM_API QVRBaseFunctor {
 public:
  QVRBaseFunctor() = default;
  QVRBaseFunctor(const QVRBaseFunctor&) = default;
  QVRBaseFunctor& operator=(const QVRBaseFunctor&) = default;
  virtual ~QVRBaseFunctor() = default;

  /// @return the body, still the functor's; null where it is empty, as this class
  ///   itself always is.
  virtual _QVRBaseFunctorBody* getBody() const;

  bool operator==(const QVRBaseFunctor& other) const;
  bool operator<(const QVRBaseFunctor& other) const;
  /// None but `<`: the others would compare whether there are bodies.
  void operator<=>(const QVRBaseFunctor& other) const = delete;

  /// Whether there is a body.
  bool isValid() const { return getBody() != nullptr; }
  operator bool() const { return isValid(); }

  /// @return the address of the object or of the function that is called; null where
  ///   the functor is empty.
  void* getCallee() const;
};
