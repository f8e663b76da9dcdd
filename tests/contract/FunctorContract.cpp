// The signatures of functors, runnables and handles that other modules compile against.
#include <type_traits>
#include <utility>

#include "QVRBaseFunctor.h"
#include "QVRFunctor0.h"
#include "QVRSysBodyBase.h"
#include "QVRSysHandleBase.h"
#include "QVRSysIRunnableBody.h"
#include "QVRSysRunnableFunctorBody.h"
#include "_QVRBaseFunctor0Body.h"
#include "_QVRBaseFunctorBody.h"
#include "contract/Signature.h"

namespace functors {

using B = _QVRBaseFunctorBody;
static_assert(std::is_abstract_v<B> && std::has_virtual_destructor_v<B> &&
              std::is_destructible_v<B> && !std::is_nothrow_destructible_v<B>);
static_assert(has<void* (B::*)() const>(&B::getCallee) &&
              has<void* (B::*)() const>(&B::getMember) &&
              has<bool (B::*)(const B&) const>(&B::isEqual) &&
              has<bool (B::*)(const B&) const>(&B::isLess));

using B0 = _QVRBaseFunctor0Body;
static_assert(std::is_abstract_v<B0> && std::is_base_of_v<B, B0> &&
              !std::is_nothrow_destructible_v<B0>);
static_assert(has<void (B0::*)()>(&B0::invoke) && has<B0* (B0::*)() const>(&B0::clone));

using F = QVRBaseFunctor;
static_assert(std::has_virtual_destructor_v<F> && !std::is_final_v<F> &&
              std::is_default_constructible_v<F> && std::is_copy_constructible_v<F> &&
              std::is_copy_assignable_v<F>);
static_assert(has<B* (F::*)() const>(&F::getBody) && has<void* (F::*)() const>(&F::getCallee) &&
              has<bool (F::*)() const>(&F::isValid) &&
              has<bool (F::*)() const>(&F::operator bool) && makesImplicitly<bool, const F&>);
static_assert(has<bool (F::*)(const F&) const>(&F::operator==) &&
              has<bool (F::*)(const F&) const>(&F::operator<));

using F0 = QVRFunctor0;
static_assert(std::is_base_of_v<F, F0> && !std::is_final_v<F0> && makesExplicitly<F0, B0*> &&
              std::is_default_constructible_v<F0> && std::is_copy_constructible_v<F0> &&
              std::is_nothrow_move_constructible_v<F0> && std::is_nothrow_move_assignable_v<F0>);
static_assert(has<B* (F0::*)() const>(&F0::getBody) && has<void (F0::*)()>(&F0::operator()) &&
              has<F0& (F0::*)(const F0&)>(&F0::operator=));

struct Callee {
  int plain();
  void constant() const noexcept;
};
static_assert(
    std::is_same_v<F0, decltype(QVRMakeFunctor0(std::declval<int* (*)()>()))> &&
    std::is_same_v<F0, decltype(QVRMakeFunctor0(std::declval<Callee*>(), &Callee::plain))> &&
    std::is_same_v<F0,
                   decltype(QVRMakeFunctor0(std::declval<const Callee*>(), &Callee::constant))>);

}  // namespace functors

namespace runnables {

using R = QVRSysIRunnableBody;
static_assert(std::is_abstract_v<R> && std::is_base_of_v<QVRCountedObject, R> &&
              std::is_destructible_v<R> && !std::is_nothrow_destructible_v<R>);
static_assert(has<void (R::*)()>(&R::initialize) && has<void* (R::*)()>(&R::run) &&
              has<void (R::*)()>(&R::finalize));

using B = QVRSysRunnableFunctorBody;
static_assert(std::is_base_of_v<R, B> && !std::is_abstract_v<B> && !std::is_final_v<B> &&
              std::is_default_constructible_v<B> && makesExplicitly<B, QVRFunctor0> &&
              !std::is_copy_constructible_v<B> && !std::is_copy_assignable_v<B>);
static_assert(!noexcept(std::declval<B&>().run()));
static_assert(has<bool (*)(const B&, const B&)>(&operator==) &&
              has<bool (*)(const B&, const B&)>(&operator<));

}  // namespace runnables

namespace handles_and_bodies {

using B = QVRSysBodyBase;
static_assert(std::is_base_of_v<QVRSysMonitor, B> && std::is_base_of_v<QVRCountedObject, B> &&
              makesImplicitly<QVRCountedObject*, B*> && std::has_virtual_destructor_v<B> &&
              !std::is_final_v<B> && !std::is_nothrow_destructible_v<B>);
static_assert(std::is_default_constructible_v<B> && std::is_copy_constructible_v<B> &&
              has<B& (B::*)(const B&)>(&B::operator=));

using H = QVRSysHandleBase;
static_assert(std::is_base_of_v<QVRCountedBase, H> && makesImplicitly<const QVRCountedBase&, H&> &&
              !std::is_polymorphic_v<H> && sizeof(H) == sizeof(void*));
static_assert(!std::is_default_constructible_v<H> && !std::is_constructible_v<H, B*> &&
              !std::is_copy_constructible_v<H> && !std::is_copy_assignable_v<H> &&
              !std::is_destructible_v<H>);
static_assert(has<bool (H::*)() const>(&H::isValid));

struct InHandle : H {
  InHandle(B* body) : H(body) {}
  static_assert(has<B* (H::*)() const>(&InHandle::body));
};
static_assert(makesImplicitly<InHandle, B*> && std::is_nothrow_copy_constructible_v<InHandle> &&
              std::is_nothrow_move_constructible_v<InHandle> &&
              std::is_nothrow_move_assignable_v<InHandle> &&
              std::is_nothrow_destructible_v<InHandle>);

template <class T>
concept ShowsItsBody = requires(const T& handle) {
  handle.body();
};
static_assert(!ShowsItsBody<InHandle>);

}  // namespace handles_and_bodies
