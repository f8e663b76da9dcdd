// The signatures of the allocators and objects that other modules compile against.
#include <cstddef>
#include <iosfwd>
#include <string>
#include <type_traits>
#include <typeinfo>

#include "QVRBlockAllocator.h"
#include "QVRClassInfo.h"
#include "QVRCountedBase.h"
#include "QVRCountedObject.h"
#include "QVRCountedPointer.h"
#include "QVRDynamicObject.h"
#include "QVRPoolAllocator.h"
#include "contract/Signature.h"

namespace block_allocators {

using A = QVRBlockAllocator;
static_assert(isNeitherCopiedNorMoved<A> && !std::is_polymorphic_v<A> && !std::is_final_v<A>);
static_assert(makesExplicitly<A, std::size_t> && !std::is_default_constructible_v<A>);
static_assert(has<void* (A::*)()>(&A::allocate) && has<void (A::*)(void*)>(&A::deallocate) &&
              has<void (A::*)()>(&A::compact) && has<void (A::*)(std::ostream&) const>(&A::dump));

}  // namespace block_allocators

namespace pool_allocators {

using P = QVRPoolAllocator;
static_assert(isNeitherCopiedNorMoved<P> && !std::is_polymorphic_v<P> && !std::is_final_v<P>);
static_assert(std::is_default_constructible_v<P>);
static_assert(has<void* (P::*)(std::size_t)>(&P::allocate) &&
              has<void (P::*)(void*, std::size_t)>(&P::deallocate) &&
              has<void (P::*)()>(&P::compact) && has<void (P::*)(std::ostream&) const>(&P::dump) &&
              has<bool (P::*)() const>(&P::isEnabled) && has<P& (*)()>(&P::Global));

}  // namespace pool_allocators

namespace class_records {

using R = QVRClassInfo;
static_assert(!std::is_polymorphic_v<R> && !std::is_final_v<R> &&
              !std::is_default_constructible_v<R> && std::is_copy_constructible_v<R> &&
              std::is_copy_assignable_v<R> && std::is_destructible_v<R>);
static_assert(std::is_constructible_v<R, const std::type_info&, std::size_t,
                                      QVRDynamicObject* (*)(), const R*, const R*>);
static_assert(has<std::string (R::*)() const>(&R::getClassName) &&
              has<std::size_t (R::*)() const>(&R::getObjectSize) &&
              has<bool (R::*)() const>(&R::isConstructable) &&
              has<bool (R::*)() const>(&R::isIdentifiable) &&
              has<QVRDynamicObject* (R::*)() const>(&R::createObject) &&
              has<std::size_t (R::*)() const>(&R::getBaseCount) &&
              has<const R& (R::*)(std::size_t) const>(&R::getBaseInfo));
static_assert(has<bool (R::*)(const R&) const>(&R::isInstanceOf) &&
              has<bool (R::*)(const R&) const>(&R::isDerivedFrom) &&
              has<bool (R::*)(const R&) const>(&R::operator==) &&
              has<bool (R::*)(const R&) const>(&R::operator!=) &&
              has<bool (R::*)(const R&) const>(&R::operator<));
static_assert(has<std::ostream& (*)(std::ostream&, const R&)>(&operator<<));

}  // namespace class_records

namespace dynamic_objects {

using D = QVRDynamicObject;
using R = QVRClassInfo;
static_assert(sizeof(D) == 16 && std::has_virtual_destructor_v<D> && !std::is_final_v<D>);
static_assert(!std::is_default_constructible_v<D> && !std::is_destructible_v<D> &&
              !std::is_copy_assignable_v<D>);
static_assert(has<const R& (*)()>(&D::ClassInfo) && has<std::string (*)()>(&D::ClassName) &&
              has<void* (*)(std::size_t)>(&D::operator new) &&
              has<void (*)(void*, std::size_t)>(&D::operator delete));
static_assert(has<std::string (D::*)() const>(&D::getClassName) &&
              has<const R& (D::*)() const>(&D::getClassInfo) &&
              has<bool (D::*)(const R&) const>(&D::isInstanceOf) &&
              has<bool (D::*)(const R&) const>(&D::isDerivedFrom));
static_assert(D::ShallowCopy == 0 && D::DeepCopy == 1 &&
              std::is_same_v<std::underlying_type_t<D::CopyMode>, int>);

template <class T>
concept ShowsItsInside = requires(T& object) {
  object.orphanObject();
}
|| requires(T& object) { object.replicateObject(); }
|| requires(T& object) { object.duplicateObject(D::DeepCopy); }
|| requires(T& object) { object._replicateObject(); }
|| requires { T::_CreateObject(); }
|| requires { T::ClassInfo_; };
static_assert(!ShowsItsInside<D> && !ShowsItsInside<QVRCountedObject>);

struct InDynamicObject : D {
  static_assert(has<void (D::*)()>(&InDynamicObject::orphanObject) &&
                has<D* (D::*)() const>(&InDynamicObject::replicateObject) &&
                has<D* (D::*)(CopyMode) const>(&InDynamicObject::duplicateObject));
};
static_assert(std::is_destructible_v<InDynamicObject> &&
              !std::is_nothrow_destructible_v<InDynamicObject>);

}  // namespace dynamic_objects

namespace counted_objects {

using C = QVRCountedObject;
static_assert(sizeof(C) == 24 && std::is_base_of_v<QVRDynamicObject, C> && !std::is_final_v<C>);
static_assert(!std::is_default_constructible_v<C> && !std::is_destructible_v<C> &&
              !std::is_copy_assignable_v<C>);
static_assert(has<unsigned int (C::*)()>(&C::addReference) &&
              has<unsigned int (C::*)()>(&C::removeReference) &&
              has<unsigned int (C::*)() const>(&C::getReferences) &&
              has<bool (C::*)() const>(&C::isReferenced) && has<bool (C::*)() const>(&C::isShared));
static_assert(has<const QVRClassInfo& (*)()>(&C::ClassInfo) &&
              has<std::string (*)()>(&C::ClassName));

struct InCountedObject : C {
  InCountedObject() = default;
  explicit InCountedObject(unsigned int initial) : C(initial) {}
  InCountedObject(const InCountedObject& other, CopyMode mode) : C(other, mode) {}
};
static_assert(!std::is_nothrow_destructible_v<InCountedObject>);

using H = QVRCountedBase;
static_assert(sizeof(H) == sizeof(void*) && !std::is_polymorphic_v<H> && !std::is_final_v<H>);
static_assert(!std::is_constructible_v<H, const C*> && !std::is_copy_constructible_v<H> &&
              !std::is_destructible_v<H> && !std::is_copy_assignable_v<H>);
static_assert(has<bool (H::*)() const>(&H::operator bool) && makesImplicitly<bool, const H&>);
static_assert(has<bool (H::*)(const C*) const>(&H::operator==) &&
              has<bool (H::*)(const C*) const>(&H::operator!=) &&
              has<bool (H::*)(const H&) const>(&H::operator==) &&
              has<bool (H::*)(const H&) const>(&H::operator!=) &&
              has<bool (H::*)(const H&) const>(&H::operator<));
struct InHandle : H {
  using H::H;
  static_assert(has<void (H::*)()>(&InHandle::detach) &&
                has<C* (H::*)() const>(&InHandle::getReferent));
};
static_assert(std::is_nothrow_copy_constructible_v<InHandle> &&
              std::is_nothrow_move_constructible_v<InHandle> &&
              std::is_nothrow_move_assignable_v<InHandle> &&
              std::is_nothrow_destructible_v<InHandle>);

using P = QVRCountedPointer<C>;
static_assert(sizeof(P) == sizeof(void*) && std::is_base_of_v<H, P> && !std::is_final_v<P>);
static_assert(std::is_default_constructible_v<P> && makesImplicitly<P, C*> &&
              makesImplicitly<P, std::nullptr_t> &&
              makesImplicitly<P, QVRCountedPointer<InCountedObject>> && makesImplicitly<bool, P>);
static_assert(has<C* (P::*)() const>(&P::get) && has<C* (P::*)() const>(&P::operator->) &&
              has<C& (P::*)() const>(&P::operator*) && has<void (P::*)()>(&P::detach));
static_assert(!QVRReleaseThrows<C> && QVRReleaseThrows<QVRSysThreadBody>);

}  // namespace counted_objects
