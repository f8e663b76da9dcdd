// The signatures of threads that other modules compile against.
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "QVRSysThreadAttribute.h"
#include "QVRSysThreadBody.h"
#include "contract/Signature.h"

namespace attributes {

using A = QVRSysThreadAttribute;
static_assert(std::is_default_constructible_v<A> && std::is_copy_constructible_v<A> &&
              !std::is_final_v<A> && !std::is_polymorphic_v<A>);
static_assert(has<A& (A::*)(const A&)>(&A::operator=));
static_assert(has<std::size_t (A::*)() const>(&A::getInitialCommittedStackSize) &&
              has<void (A::*)(std::size_t)>(&A::setInitialCommittedStackSize) &&
              has<void* (A::*)() const>(&A::getSecurityAttributes) &&
              has<void (A::*)(void*)>(&A::setSecurityAttributes) &&
              has<std::uint32_t (A::*)() const>(&A::getCreateSuspendedFlag) &&
              has<void (A::*)(std::uint32_t)>(&A::setCreateSuspendedFlag) &&
              has<int (A::*)() const>(&A::getPriority) && has<void (A::*)(int)>(&A::setPriority) &&
              has<int (A::*)() const>(&A::getMaximumPriority) &&
              has<int (A::*)() const>(&A::getMinimumPriority) &&
              has<QVRSysDetachState (A::*)() const>(&A::getDetachState) &&
              has<void (A::*)(QVRSysDetachState)>(&A::setDetachState) &&
              has<const A& (*)()>(&A::Default));
static_assert(has<void* (A::*)() const>(&A::getStackAddress) &&
              has<void (A::*)(void*)>(&A::setStackAddress) &&
              has<std::size_t (A::*)() const>(&A::getStackSize) &&
              has<void (A::*)(std::size_t)>(&A::setStackSize) &&
              has<QVRSysInheritScheduling (A::*)() const>(&A::getInheritScheduling) &&
              has<void (A::*)(QVRSysInheritScheduling)>(&A::setInheritScheduling) &&
              has<QVRSysSchedulingPolicy (A::*)() const>(&A::getSchedulingPolicy) &&
              has<void (A::*)(QVRSysSchedulingPolicy)>(&A::setSchedulingPolicy) &&
              has<QVRSysContentionScope (A::*)() const>(&A::getContentionScope) &&
              has<void (A::*)(QVRSysContentionScope)>(&A::setContentionScope));

static_assert(QVR_SYS_DETACHED == 0 && QVR_SYS_JOINABLE == 1);
static_assert(QVR_SYS_INHERIT_SCHEDULING == 0 && QVR_SYS_EXPLICIT_SCHEDULING == 1);
static_assert(QVR_SYS_SCHEDULE_OTHER == 0 && QVR_SYS_SCHEDULE_FIFO == 1 &&
              QVR_SYS_SCHEDULE_RR == 2);
static_assert(QVR_SYS_SCOPE_PROCESS == 0 && QVR_SYS_SCOPE_SYSTEM == 1);
static_assert(QVR_SYS_CREATE_SUSPENDED == 4);

}  // namespace attributes

namespace threads {

using B = QVRSysThreadBody;
using Runnable = QVRCountedPointer<QVRSysIRunnableBody>;
using Pointer = QVRCountedPointer<B>;
static_assert(std::is_base_of_v<QVRSysMonitor, B> && std::is_base_of_v<QVRCountedObject, B> &&
              std::has_virtual_destructor_v<B> && !std::is_final_v<B>);
static_assert(isNeitherCopiedNorMoved<B> && !std::is_nothrow_destructible_v<B>);
static_assert(makesExplicitly<B, Runnable> &&
              std::is_constructible_v<B, Runnable, const QVRSysThreadAttribute&>);
static_assert(has<void (B::*)()>(&B::start) && has<bool (B::*)()>(&B::suspend) &&
              has<void (B::*)()>(&B::resume) && has<bool (B::*)()>(&B::join) &&
              has<bool (B::*)()>(&B::cancel));
static_assert(has<QVRSysExecutionState (B::*)() const>(&B::getState) &&
              has<bool (B::*)() const>(&B::isIdle) && has<bool (B::*)() const>(&B::isRunning) &&
              has<bool (B::*)() const>(&B::isSuspended));
static_assert(has<Runnable (B::*)() const>(&B::getRunnable) &&
              has<bool (B::*)(Runnable)>(&B::setRunnable) &&
              has<QVRSysThreadAttribute (B::*)() const>(&B::getAttribute) &&
              has<void (B::*)(const QVRSysThreadAttribute&)>(&B::setAttribute) &&
              has<QVRSysThreadId (B::*)() const>(&B::getThreadId));
static_assert(has<int (B::*)() const>(&B::getPriority) && has<void (B::*)(int)>(&B::setPriority) &&
              has<int (B::*)() const>(&B::getMaximumPriority) &&
              has<int (B::*)() const>(&B::getMinimumPriority));
static_assert(QVR_SYS_IDLE == 2 && QVR_SYS_RUNNING == 4 && QVR_SYS_SUSPENDED == 16);
static_assert(has<Pointer (*)(QVRFunctor0)>(&QVRMakeThread));
static_assert(
    has<bool (*)(Pointer, Pointer)>(static_cast<bool (*)(Pointer, Pointer)>(&operator==)));
static_assert(has<bool (*)(Pointer, Pointer)>(static_cast<bool (*)(Pointer, Pointer)>(&operator<)));

}  // namespace threads
