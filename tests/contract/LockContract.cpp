// The signatures of the locks that other modules compile against.
#include <cstddef>
#include <utility>

#include "QVRAtomicCounter.h"
#include "QVRAtomicLock.h"
#include "QVRReadersWriterLock.h"
#include "QVRSpinLock.h"
#include "QVRSysCondition.h"
#include "QVRSysCriticalSection.h"
#include "QVRSysICondition.h"
#include "QVRSysIMutexLock.h"
#include "QVRSysIReadWriteLock.h"
#include "QVRSysLockGuard.h"
#include "QVRSysMonitor.h"
#include "QVRSysMutexLock.h"
#include "QVRSysPCBuffer.h"
#include "QVRSysPCQueue.h"
#include "QVRSysReadLockGuard.h"
#include "QVRSysThreadPool.h"
#include "QVRSysUnlockGuard.h"
#include "QVRSysWriteLockGuard.h"
#include "contract/Signature.h"

namespace {

/// The two operations of a lock, which everybody may call and override as he likes.
template <class T>
concept LocksInPublic = requires(T& lock) {
  lock.acquire();
  lock.release();
  requires !noexcept(lock.acquire()) && !noexcept(lock.release());
};

template <class T>
concept InitializesInPublic = requires(T& lock) {
  lock.initialize();
}
|| requires(T& lock) { lock.finalize(); };

}  // namespace

namespace atomics {

using C = QVRAtomicCounter;
static_assert(sizeof(C) == 4 && !std::is_polymorphic_v<C> && std::is_trivially_destructible_v<C>);
static_assert(std::is_default_constructible_v<C> && makesImplicitly<C, long> &&
              std::is_copy_constructible_v<C>);
static_assert(has<void (C::*)(const C&)>(&C::operator=) && has<void (C::*)(long)>(&C::operator=) &&
              has<void (C::*)(long)>(&C::set));
static_assert(has<long (C::*)() const>(&C::get) && has<long (C::*)() const>(&C::operator long) &&
              makesImplicitly<long, C>);
static_assert(has<long (C::*)()>(&C::increment) && has<long (C::*)()>(&C::decrement) &&
              has<long (C::*)()>(&C::operator++) && has<long (C::*)()>(&C::operator--));

template <class T>
concept Steps = requires(T counter) {
  counter++;
}
|| requires(T counter) { counter--; }
|| requires(T counter) { counter += 1; }
|| requires(T counter) { counter -= 1; };
static_assert(!Steps<C>);

using L = QVRAtomicLock;
static_assert(sizeof(L) == 4 && !std::is_polymorphic_v<L> && std::is_trivially_destructible_v<L>);
static_assert(std::is_default_constructible_v<L> && isNeitherCopiedNorMoved<L>);
static_assert(has<bool (L::*)()>(&L::acquire) && has<void (L::*)()>(&L::release) &&
              has<bool (L::*)() const>(&L::isLocked));

}  // namespace atomics

namespace interfaces {

using M = QVRSysIMutexLock;
static_assert(std::is_abstract_v<M> && !std::has_virtual_destructor_v<M> &&
              std::is_copy_assignable_v<M> && LocksInPublic<M>);
static_assert(has<void (M::*)()>(&M::acquire) && has<void (M::*)()>(&M::release));

using R = QVRSysIReadWriteLock;
static_assert(std::is_abstract_v<R> && !std::has_virtual_destructor_v<R> &&
              std::is_copy_assignable_v<R>);
static_assert(has<void (R::*)()>(&R::acquireRead) && has<void (R::*)()>(&R::acquireWrite) &&
              has<void (R::*)()>(&R::release) && has<bool (R::*)()>(&R::tryAcquireRead) &&
              has<bool (R::*)()>(&R::tryAcquireWrite));

using C = QVRSysICondition;
static_assert(std::is_abstract_v<C> && !std::has_virtual_destructor_v<C> &&
              std::is_copy_assignable_v<C>);
static_assert(has<void (C::*)()>(&C::signal) && has<void (C::*)()>(&C::signalAll) &&
              has<void (C::*)()>(&C::wait) && has<QVRSysIMutexLock* (C::*)() const>(&C::getLock));

// What implements them can be copied as far as they are concerned.
struct Lock : M, R {
  void acquire() override {}
  void acquireRead() override {}
  void acquireWrite() override {}
  void release() override {}
  bool tryAcquireRead() override { return true; }
  bool tryAcquireWrite() override { return true; }
};
struct Condition : C {
  void signal() override {}
  void signalAll() override {}
  void wait() override {}
  QVRSysIMutexLock* getLock() const override { return nullptr; }
};
static_assert(std::is_copy_constructible_v<Lock> && std::is_copy_assignable_v<Lock>);
static_assert(std::is_copy_constructible_v<Condition> && std::is_copy_assignable_v<Condition>);

}  // namespace interfaces

namespace locks {

using S = QVRSpinLock;
static_assert(std::is_base_of_v<QVRSysIMutexLock, S> && !std::has_virtual_destructor_v<S> &&
              !std::is_final_v<S> && makesImplicitly<QVRSysIMutexLock&, S&>);
static_assert(std::is_default_constructible_v<S> && isNeitherCopiedNorMoved<S> && LocksInPublic<S>);
static_assert(has<void (S::*)()>(&S::acquire) && has<void (S::*)()>(&S::release) &&
              has<void (S::*)()>(&S::acquireRead) && has<void (S::*)()>(&S::acquireWrite));
struct InSpinLock : S {
  static_assert(has<std::uint64_t (*)()>(&S::GetNumProcessors) &&
                has<std::uint64_t (*)()>(&S::GetSpinLimit));
  static_assert(std::is_same_v<decltype(SpinLimit), std::uint64_t>);
};
template <class T>
concept ShowsItsLimit = requires {
  T::SpinLimit;
}
|| requires { T::GetSpinLimit(); }
|| requires { T::GetNumProcessors(); };
static_assert(!ShowsItsLimit<S>);

using M = QVRSysMutexLock;
static_assert(std::is_base_of_v<QVRSysIMutexLock, M> && std::has_virtual_destructor_v<M> &&
              !std::is_final_v<M> && makesImplicitly<QVRSysIMutexLock&, M&>);
static_assert(std::is_default_constructible_v<M> && makesExplicitly<M, bool> &&
              isNeitherCopiedNorMoved<M> && LocksInPublic<M> && !InitializesInPublic<M>);
static_assert(has<void (M::*)()>(&M::acquire) && has<void (M::*)()>(&M::release) &&
              has<void* (M::*)() const>(&M::getNativeLock));
struct InMutexLock : M {
  static_assert(has<void (M::*)()>(&InMutexLock::initialize) &&
                has<void (M::*)()>(&InMutexLock::finalize));
};

using X = QVRSysCriticalSection;
static_assert(std::is_base_of_v<QVRSysIMutexLock, X> && std::has_virtual_destructor_v<X> &&
              !std::is_final_v<X> && makesImplicitly<QVRSysIMutexLock&, X&>);
static_assert(std::is_default_constructible_v<X> && makesExplicitly<X, bool> &&
              isNeitherCopiedNorMoved<X> && LocksInPublic<X> && !InitializesInPublic<X>);
static_assert(has<void (X::*)()>(&X::acquire) && has<void (X::*)()>(&X::release) &&
              has<void* (X::*)() const>(&X::getNativeLock));
struct InCriticalSection : X {
  static_assert(has<void (X::*)()>(&InCriticalSection::initialize) &&
                has<void (X::*)()>(&InCriticalSection::finalize));
};

using W = QVRReadersWriterLock;
static_assert(std::is_base_of_v<QVRSysIMutexLock, W> && !std::has_virtual_destructor_v<W> &&
              !std::is_final_v<W> && makesImplicitly<QVRSysIMutexLock&, W&>);
static_assert(std::is_default_constructible_v<W> && isNeitherCopiedNorMoved<W> && LocksInPublic<W>);
static_assert(has<void (W::*)()>(&W::acquire) && has<void (W::*)()>(&W::release) &&
              has<void (W::*)()>(&W::acquireRead) && has<void (W::*)()>(&W::acquireWrite));
static_assert(has<bool (W::*)() const>(&W::isLocked) &&
              has<bool (W::*)() const>(&W::isReadLocked) &&
              has<bool (W::*)() const>(&W::isWriteLocked) &&
              has<int (W::*)() const>(&W::getNestingLevel));

}  // namespace locks

namespace monitor {

using M = QVRSysMonitor;
static_assert(std::is_base_of_v<QVRSysIMutexLock, M> && !std::has_virtual_destructor_v<M> &&
              !std::is_final_v<M> && makesImplicitly<QVRSysIMutexLock&, M&>);
static_assert(!std::is_default_constructible_v<M> && isNeitherCopiedNorMoved<M>);

template <class T>
concept ShowsItsLock = LocksInPublic<T> || requires(T& object) {
  object.mutex();
} || requires(T& object) {
  object.mutex_temp();
} || requires(T& object) {
  object.monitor();
} || requires(T& object) {
  object.monitor_temp();
};
static_assert(!ShowsItsLock<M>);

struct Derived : M {
  static_assert(has<void (M::*)()>(&Derived::acquire) && has<void (M::*)()>(&Derived::release));
  static_assert(has<QVRSysMutexLock& (M::*)()>(&Derived::mutex) &&
                has<QVRSysMutexLock& (M::*)()>(&Derived::mutex_temp) &&
                has<M& (M::*)() const>(&Derived::monitor) &&
                has<M& (M::*)() const>(&Derived::monitor_temp));
};
static_assert(std::is_default_constructible_v<Derived> && isNeitherCopiedNorMoved<Derived>);

// A copy has a lock of its own.
struct Copied : M {
  Copied() = default;
  Copied(const Copied&) : M() {}
};
static_assert(std::is_copy_constructible_v<Copied>);

}  // namespace monitor

namespace condition {

using C = QVRSysCondition;
static_assert(std::is_base_of_v<QVRSysICondition, C> && !std::has_virtual_destructor_v<C> &&
              !std::is_final_v<C> && makesImplicitly<QVRSysICondition&, C&>);
static_assert(makesExplicitly<C, QVRSysMutexLock&> && !std::is_default_constructible_v<C> &&
              isNeitherCopiedNorMoved<C>);
static_assert(has<void (C::*)()>(&C::signal) && has<void (C::*)()>(&C::signalAll) &&
              has<void (C::*)()>(&C::wait) && has<QVRSysIMutexLock* (C::*)() const>(&C::getLock));
static_assert(!noexcept(std::declval<C&>().signal()) && !noexcept(std::declval<C&>().signalAll()) &&
              !noexcept(std::declval<C&>().wait()));

}  // namespace condition

namespace buffers {

using B = QVRSysPCBuffer;
static_assert(std::is_base_of_v<QVRSysMonitor, B> && std::is_abstract_v<B> &&
              std::has_virtual_destructor_v<B> && !std::is_nothrow_destructible_v<B> &&
              std::is_destructible_v<B> && isNeitherCopiedNorMoved<B> && !LocksInPublic<B>);
static_assert(has<bool (B::*)() const>(&B::hasItems) && has<bool (B::*)() const>(&B::hasRoom) &&
              has<std::size_t (B::*)() const>(&B::count) && has<void (B::*)()>(&B::clear) &&
              has<std::size_t (B::*)() const>(&B::getCapacity) &&
              has<void (B::*)(std::size_t)>(&B::setCapacity));

struct Derived : B {
  Derived() : B() {}
  explicit Derived(std::size_t capacity) : B(capacity) {}
  static_assert(std::is_same_v<decltype(itemsAvailable_), QVRSysCondition> &&
                std::is_same_v<decltype(roomAvailable_), QVRSysCondition> &&
                std::is_same_v<decltype(capacity_), std::size_t>);
  bool hasItems() const override { return false; }
  bool hasRoom() const override { return false; }
  std::size_t count() const override { return 0; }
  void clear() override {}
};
static_assert(!std::is_abstract_v<Derived>);

using Q = QVRSysPCQueue<int>;
static_assert(std::is_base_of_v<B, Q> && !std::is_final_v<Q> &&
              std::is_default_constructible_v<Q> && makesExplicitly<Q, std::size_t> &&
              isNeitherCopiedNorMoved<Q> && !LocksInPublic<Q>);
static_assert(has<bool (Q::*)(const int&)>(&Q::put) && has<bool (Q::*)(int&&)>(&Q::put) &&
              has<bool (Q::*)(int&)>(&Q::get) && has<void (Q::*)()>(&Q::stop) &&
              has<void (Q::*)()>(&Q::restart));

}  // namespace buffers

namespace pool {

using P = QVRSysThreadPool;
static_assert(std::is_base_of_v<QVRSysMonitor, P> && !std::has_virtual_destructor_v<P> &&
              !std::is_final_v<P> && makesExplicitly<P, int> &&
              !std::is_default_constructible_v<P> && isNeitherCopiedNorMoved<P> &&
              std::is_nothrow_destructible_v<P> && !LocksInPublic<P>);
static_assert(has<void (P::*)()>(&P::start) && has<void (P::*)()>(&P::stop) &&
              has<bool (P::*)(QVRCountedPointer<QVRSysIRunnableBody>)>(&P::enqueue) &&
              has<void (P::*)(std::size_t)>(&P::enlarge) &&
              has<std::size_t (P::*)() const>(&P::size) &&
              has<std::size_t (P::*)() const>(&P::numberTasksPending));

}  // namespace pool

namespace guards {

/// A guard of the kind of lock that the base of Lock names.
template <class Guard, class Lock>
inline constexpr bool isGuardOf =
    !std::is_polymorphic_v<Guard> && !std::is_final_v<Guard> && makesExplicitly<Guard, Lock&> &&
    !std::is_constructible_v<Guard, const Lock&> && !std::is_default_constructible_v<Guard> &&
    isNeitherCopiedNorMoved<Guard> && !std::is_nothrow_destructible_v<Guard> &&
    std::is_destructible_v<Guard> && has<void (Guard::*)()>(&Guard::acquire) &&
    has<void (Guard::*)()>(&Guard::release) && has<bool (Guard::*)() const>(&Guard::isAcquired);

static_assert(isGuardOf<QVRSysLockGuard, QVRSysIMutexLock>);
static_assert(isGuardOf<QVRSysUnlockGuard, QVRSysIMutexLock>);
static_assert(isGuardOf<QVRSysReadLockGuard, QVRSysIReadWriteLock>);
static_assert(isGuardOf<QVRSysWriteLockGuard, QVRSysIReadWriteLock>);
static_assert(std::is_constructible_v<QVRSysLockGuard, QVRSysMutexLock&> &&
              std::is_constructible_v<QVRSysLockGuard, QVRReadersWriterLock&> &&
              std::is_constructible_v<QVRSysUnlockGuard, QVRSpinLock&> &&
              std::is_constructible_v<QVRSysUnlockGuard, QVRSysMonitor&> &&
              !std::is_constructible_v<QVRSysReadLockGuard, QVRReadersWriterLock&>);

}  // namespace guards
