#include "QVRSysCondition.h"

#include "QVRShortHold.h"
#include "QVRSysMutexLock.h"
#include "QVRSystem/internal/QVRNativeMutex.h"
#include "QVRSystem/internal/QVRWaitList.h"

using qvr::internal::NativeMutex;
using qvr::internal::ShortHold;
using qvr::internal::Waiter;
using qvr::internal::WaitList;

void QVRSysCondition::signal() {
  if (WaitList(waiters_).isEmpty()) return;
  ShortHold hold(queueLock_);
  Waiter* const first = WaitList(waiters_).takeFirst();
  hold.release();
  if (first == nullptr) return;
  if (NativeMutex::isHeldByCaller(lock_.native_)) {
    first->wakeBehindMutex();
  } else {
    first->wake();
  }
}

void QVRSysCondition::signalAll() {
  if (WaitList(waiters_).isEmpty()) return;
  ShortHold hold(queueLock_);
  Waiter* const first = WaitList(waiters_).takeAll();
  hold.release();
  WaitList::wakeAll(first);
}

void QVRSysCondition::wait() {
  Waiter self;
  append(self);
  NativeMutex::release(lock_.native_);
  self.sleep();
  NativeMutex::acquire(lock_.native_);
}

QVRSysIMutexLock* QVRSysCondition::getLock() const { return &lock_; }

void QVRSysCondition::append(Waiter& waiter) noexcept {
  const ShortHold hold(queueLock_);
  WaitList(waiters_).append(waiter);
}
