// Calls of any function without arguments, as values.
#pragma once

#include <concepts>
#include <cstring>
#include <functional>
#include <memory>
#include <typeinfo>

#include "QVRBaseFunctor.h"
#include "QVRSystemExport.h"
#include "_QVRBaseFunctor0Body.h"

/// A call without arguments and result, as a value: it owns a body that knows what to
/// call, or is empty. Threads and thread pools are given them to run.
///
/// @code
/// QVRFunctor0 report = QVRMakeFunctor0(&stock, &Stock::report);
/// report();  // stock.report()
/// @endcode
///
/// Copies have bodies of their own, clones of the original's. A moved functor hands its
/// body over and is empty. The callee is not owned: it has to live as long as functors
/// that call it are called.
///
/// Copying throws what clone() throws, std::bad_alloc for instance. A body whose
/// destructor throws ends the process, but for copy assignment, which lets that through.
///
/// @par Thread safety
/// As an int; a call is one of the callee, whichever functor makes it.
/// @par Cost
/// One allocation for a functor made or copied; one virtual call for a call.
class QVRSYSTEM_API QVRFunctor0 : public QVRBaseFunctor {
 public:
  /// Empty.
  QVRFunctor0() noexcept = default;

  /// @param body the functor's from now on; null for an empty one.
  explicit QVRFunctor0(_QVRBaseFunctor0Body* body) noexcept : body_(body) {}

  QVRFunctor0(const QVRFunctor0& other);
  QVRFunctor0(QVRFunctor0&& other) noexcept = default;
  ~QVRFunctor0() override = default;

  /// Deletes its own body, in which the other must not live, then clones the other's,
  /// unless it assigns itself. Empty if either throws.
  QVRFunctor0& operator=(const QVRFunctor0& other);
  QVRFunctor0& operator=(QVRFunctor0&& other) noexcept = default;

  _QVRBaseFunctorBody* getBody() const override;

  /// Calls the callee; whatever that throws comes through. Does nothing where empty.
  void operator()() {
    if (body_ != nullptr) body_->invoke();
  }

 private:
  std::unique_ptr<_QVRBaseFunctor0Body> body_;  // null: empty
};

namespace qvr::internal {

/// A body that calls a function, or a member function, of type `Function`.
template <class Function>
class FunctorBody : public _QVRBaseFunctor0Body {
 public:
  void* getCallee() const override { return callee_; }

  bool isEqual(const _QVRBaseFunctorBody& other) const override {
    return callee_ == other.getCallee() && typeid(*this) == typeid(other) &&
           function_ == static_cast<const FunctorBody&>(other).function_;
  }

  bool isLess(const _QVRBaseFunctorBody& other) const override {
    void* const callee = other.getCallee();
    if (callee_ != callee) return std::less<>()(callee_, callee);
    if (typeid(*this) != typeid(other)) return typeid(*this).before(typeid(other));
    // Pointers to members have no order of their own, but no padding either.
    return std::memcmp(&function_, &static_cast<const FunctorBody&>(other).function_,
                       sizeof function_) < 0;
  }

 protected:
  FunctorBody(void* callee, Function function) : callee_(callee), function_(function) {}

  void* const callee_;
  const Function function_;
};

/// That of a function on its own, which is its own callee.
template <class Function>
class FreeFunctionBody : public FunctorBody<Function> {
 public:
  explicit FreeFunctionBody(Function function)
      : FunctorBody<Function>(reinterpret_cast<void*>(function), function) {}

  void* getMember() const override { return nullptr; }
  void invoke() override { static_cast<void>(this->function_()); }
  FreeFunctionBody* clone() const override { return new FreeFunctionBody(*this); }
};

/// `Owner` is the class that has the member, constant for constant members: not the
/// object's own, so that bodies differ in type only where the members do.
template <class Owner, class Member>
class MemberFunctionBody : public FunctorBody<Member> {
 public:
  template <class Object>
  MemberFunctionBody(Object* object, Member member)
      : FunctorBody<Member>(const_cast<void*>(static_cast<const void*>(object)), member),
        object_(object) {}

  void* getMember() const override { return const_cast<Member*>(&this->function_); }
  void invoke() override { static_cast<void>((object_->*this->function_)()); }
  MemberFunctionBody* clone() const override { return new MemberFunctionBody(*this); }

 private:
  Owner* const object_;
};

}  // namespace qvr::internal

/// @return a functor that calls the function, which must not be null, and drops its
///   result.
/// @throws std::bad_alloc
template <class Result>
QVRFunctor0 QVRMakeFunctor0(Result (*function)()) {
  return QVRFunctor0(new qvr::internal::FreeFunctionBody<Result (*)()>(function));
}

/// @return a functor that calls the member function, the class's own or inherited, of
///   the object, and drops its result. Neither pointer may be null.
/// @throws std::bad_alloc
template <class Object, class Owner, class Result>
requires std::convertible_to<Object*, Owner*> QVRFunctor0
QVRMakeFunctor0(Object* object, Result (Owner::*member)()) {
  using Body = qvr::internal::MemberFunctionBody<Owner, Result (Owner::*)()>;
  return QVRFunctor0(new Body(object, member));
}

/// As above, for members that may be called for constant objects; of two overloads, a
/// constant object has this one.
template <class Object, class Owner, class Result>
requires std::convertible_to<const Object*, const Owner*> QVRFunctor0
QVRMakeFunctor0(const Object* object, Result (Owner::*member)() const) {
  using Body = qvr::internal::MemberFunctionBody<const Owner, Result (Owner::*)() const>;
  return QVRFunctor0(new Body(object, member));
}
