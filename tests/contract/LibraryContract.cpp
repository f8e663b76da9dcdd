// The signatures of libraries and symbols that other modules compile against.
#include <string>

#include "QVRDynamicFunction0.h"
#include "QVRDynamicLibrary.h"
#include "QVRDynamicSymbol.h"
#include "QVROSLibraryHandle.h"
#include "contract/Signature.h"

namespace {

using Text = const std::string&;

using OI = QVROSLibraryImpl;
static_assert(std::is_base_of_v<QVRSysBodyBase, OI> && makesExplicitly<OI, Text>);
static_assert(has<void* (OI::*)() const>(&OI::getOSLibrary) &&
              has<void* (OI::*)(Text) const>(&OI::getOSSymbol));

using O = QVROSLibraryHandle;
static_assert(std::is_base_of_v<QVRSysHandleBase, O> && sizeof(O) == sizeof(void*));
static_assert(std::is_default_constructible_v<O> && makesImplicitly<O, OI*> &&
              makesExplicitly<O, Text> && makesImplicitly<O, const O&>);
static_assert(has<O& (O::*)(const O&)>(&O::operator=) && has<O& (O::*)(OI*)>(&O::operator=));
static_assert(has<void* (O::*)() const>(&O::getOSLibrary) &&
              has<void* (O::*)(Text) const>(&O::getOSSymbol));

using LI = QVRDynamicLibraryImpl;
using H = QVRDynamicLibraryHandle;
using L = QVRDynamicLibrary;
using SI = QVRDynamicSymbolImpl;
using SH = QVRDynamicSymbolHandle;
using S = QVRDynamicSymbol;
using F = QVRDynamicFunction0;

static_assert(std::is_base_of_v<QVRSysBodyBase, LI> && makesExplicitly<LI, Text>);
static_assert(has<void (LI::*)()>(&LI::open) && has<void (LI::*)()>(&LI::close) &&
              has<bool (LI::*)() const>(&LI::isOpen) &&
              has<std::string (LI::*)() const>(&LI::getPath) && has<O (LI::*)()>(&LI::getHandle) &&
              has<S (LI::*)(Text)>(&LI::getSymbol) && has<L (*)(Text)>(&LI::getLibrary));

/// What derived bodies reach.
struct DerivedLibrary : LI {
  static_assert(has<void (LI::*)()>(&DerivedLibrary::_open) &&
                has<void (LI::*)()>(&DerivedLibrary::_close) &&
                has<bool (LI::*)() const>(&DerivedLibrary::_isOpen) &&
                has<std::string (LI::*)() const>(&DerivedLibrary::_getPath) &&
                has<O (LI::*)()>(&DerivedLibrary::_getHandle));
};
struct DerivedSymbol : SI {
  static_assert(has<void* (SI::*)() const>(&DerivedSymbol::_getImpl) &&
                has<std::string (SI::*)() const>(&DerivedSymbol::_getName) &&
                has<H (SI::*)() const>(&DerivedSymbol::_getLibrary));
};

static_assert(std::is_base_of_v<QVRSysHandleBase, H> && !std::is_polymorphic_v<H> &&
              sizeof(H) == sizeof(void*));
static_assert(std::is_default_constructible_v<H> && makesImplicitly<H, LI*> &&
              makesImplicitly<H, const H&> && makesImplicitly<H, const L&>);
static_assert(has<H& (H::*)(const H&)>(&H::operator=) && has<H& (H::*)(LI*)>(&H::operator=) &&
              has<O (H::*)() const>(&H::getOSLibraryHandle));

static_assert(std::is_base_of_v<H, L> && std::has_virtual_destructor_v<L>);
static_assert(std::is_default_constructible_v<L> && makesImplicitly<L, LI*> &&
              makesImplicitly<L, const L&> && makesExplicitly<L, Text> &&
              std::is_constructible_v<L, Text, Text>);
static_assert(has<L& (L::*)(const L&)>(&L::operator=) && has<L& (L::*)(LI*)>(&L::operator=));
static_assert(has<L (*)(Text)>(&L::getLibrary) && has<bool (L::*)() const>(&L::isOpen) &&
              has<std::string (L::*)() const>(&L::getPath) && has<void (L::*)()>(&L::open) &&
              has<void (L::*)()>(&L::close) && has<S (L::*)(Text) const>(&L::getSymbol));

static_assert(std::is_base_of_v<QVRSysBodyBase, SI> &&
              std::is_constructible_v<SI, const L&, Text> &&
              std::is_constructible_v<SI, Text, Text>);
static_assert(has<void* (SI::*)() const>(&SI::getImpl) &&
              has<std::string (SI::*)() const>(&SI::getName) &&
              has<H (SI::*)() const>(&SI::getLibrary));

template <class Handle, class Base>
inline constexpr bool isSymbolHandle =
    std::is_base_of_v<Base, Handle>&& std::has_virtual_destructor_v<Handle>&&
        std::is_default_constructible_v<Handle>&& makesImplicitly<Handle, SI*>&& makesImplicitly<
            Handle, const Handle&>&& std::is_constructible_v<Handle, const L&, Text>&&
            std::is_constructible_v<Handle, Text, Text>&& has<Handle& (Handle::*)(const Handle&)>(
                &Handle::operator=) &&
    has<Handle& (Handle::*)(SI*)>(&Handle::operator=);
static_assert(isSymbolHandle<SH, QVRSysHandleBase> && isSymbolHandle<S, SH> &&
              isSymbolHandle<F, S>);
static_assert(has<H (S::*)() const>(&S::getLibrary) && has<void (F::*)() const>(&F::operator()));

}  // namespace
