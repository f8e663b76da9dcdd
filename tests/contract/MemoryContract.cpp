// The signatures of the allocators that other modules compile against.
#include <cstddef>
#include <iosfwd>
#include <type_traits>

#include "QVRBlockAllocator.h"
#include "QVRPoolAllocator.h"
#include "contract/Signature.h"

namespace {

template <class T>
inline constexpr bool isNeitherCopiedNorMoved =
    !std::is_copy_constructible_v<T> && !std::is_move_constructible_v<T> &&
    !std::is_copy_assignable_v<T> && !std::is_move_assignable_v<T>;

}  // namespace

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
