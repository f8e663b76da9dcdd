#include "QVRSysCondition.h"

#include "QVRShortHold.h"
#include "QVRSysCriticalSection.h"
#include "QVRSysMutexLock.h"
#include "QVRSystem/internal/QVRNativeMutex.h"
#include "QVRSystem/internal/QVRThreadState.h"
#include "QVRSystem/internal/QVRWaitList.h"

using qvr::internal::EndableWait;
using qvr::internal::NativeMutex;
using qvr::internal::ShortHold;
using qvr::internal::ShortSection;
using qvr::internal::Waiter;
using qvr::internal::WaitList;

namespace {

class ListedWait final : public EndableWait {
 public:
  ListedWait(Waiter*& list, QVRSysCriticalSection& lock) noexcept : list_(list), lock_(lock) {
    const ShortHold hold(lock_);
    WaitList(list_).append(waiter_);
    begin();
  }

  void sleep() noexcept {
    waiter_.sleep();
    end();
  }

  // A signal that fell to it before is spent.
  void leave() noexcept override {
    ShortHold hold(lock_);
    if (WaitList(list_).remove(waiter_)) return;
    hold.release();
    waiter_.awaitWaker();
  }

 private:
  Waiter*& list_;
  QVRSysCriticalSection& lock_;
  Waiter waiter_;
};

}  // namespace

void QVRSysCondition::signal() {
  if (WaitList(waiters_).isEmpty()) return;
  const ShortSection section;  // until the thread that is taken off is awake
  Waiter* const first = takeFirst();
  if (first != nullptr) wake(*first, isLockHeldByCaller());
}

void QVRSysCondition::signalAll() {
  if (WaitList(waiters_).isEmpty()) return;
  ShortHold hold(queueLock_);
  Waiter* const first = WaitList(waiters_).takeAll();
  hold.release();
  WaitList::wakeAll(first);
}

void QVRSysCondition::wait() {
  ListedWait self(waiters_, queueLock_);
  NativeMutex::release(lock_.native_);
  self.sleep();
  NativeMutex::acquire(lock_.native_);
}

QVRSysIMutexLock* QVRSysCondition::getLock() const { return &lock_; }

Waiter* QVRSysCondition::takeFirst() noexcept {
  if (WaitList(waiters_).isEmpty()) return nullptr;
  const ShortHold hold(queueLock_);
  return WaitList(waiters_).takeFirst();
}

void QVRSysCondition::wake(Waiter& waiter, bool isBehindMutex) noexcept {
  if (isBehindMutex) {
    waiter.wakeBehindMutex();
  } else {
    waiter.wake();
  }
}

bool QVRSysCondition::isLockHeldByCaller() const noexcept {
  return NativeMutex::isHeldByCaller(lock_.native_);
}
