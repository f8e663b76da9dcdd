#include "QVRSysCondition.h"

#include "QVRShortHold.h"
#include "QVRSysMutexLock.h"
#include "QVRSystem/internal/QVRNativeMutex.h"
#include "QVRSystem/internal/QVRThreadState.h"
#include "QVRSystem/internal/QVRWaitList.h"

using qvr::internal::NativeMutex;
using qvr::internal::ShortHold;
using qvr::internal::ShortSection;
using qvr::internal::Waiter;
using qvr::internal::WaitList;

void QVRSysCondition::signal() noexcept {
  if (WaitList(waiters_).isEmpty()) return;
  // Until the thread is awake: nobody else wakes one that is off the list.
  const ShortSection section;
  if (Waiter* const first = takeFirst(); first != nullptr) first->wake();
}

void QVRSysCondition::signalAll() noexcept {
  if (WaitList(waiters_).isEmpty()) return;
  const ShortSection section;
  WaitList::wakeAll(takeAll());
}

void QVRSysCondition::wait() noexcept {
  Waiter self;
  append(self);
  NativeMutex::release(lock_.native_);
  self.sleep();
  NativeMutex::acquire(lock_.native_);
}

QVRSysIMutexLock* QVRSysCondition::getLock() const noexcept { return &lock_; }

void QVRSysCondition::append(Waiter& waiter) noexcept {
  const ShortHold hold(queueLock_);
  WaitList(waiters_).append(waiter);
}

Waiter* QVRSysCondition::takeFirst() noexcept {
  const ShortHold hold(queueLock_);
  return WaitList(waiters_).takeFirst();
}

Waiter* QVRSysCondition::takeAll() noexcept {
  const ShortHold hold(queueLock_);
  return WaitList(waiters_).takeAll();
}
