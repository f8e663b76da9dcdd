#include "QVRReadersWriterLock.h"

#include <cstdlib>

#include "QVREInternalError.h"
#include "QVRShortHold.h"
#include "QVRSystem/internal/QVRThreadState.h"
#include "QVRSystem/internal/QVRWaitList.h"

using qvr::internal::ShortHold;
using qvr::internal::ShortSection;
using qvr::internal::ShortSectionPause;
using qvr::internal::Waiter;
using qvr::internal::WaitList;

namespace {

// What callers see.
constexpr char kSource[] = "QVRSystem/QVRThreadsMD.m/src/QVRReadersWriterLock";
constexpr int kUpgradeLine = 242;
constexpr int kNotOwnerLine = 265;

constexpr std::size_t kReservedHolders = 8;

}  // namespace

QVRReadersWriterLock::QVRReadersWriterLock() { holders_.reserve(kReservedHolders); }

void QVRReadersWriterLock::acquireRead() {
  const ShortHold hold(monitor_);
  if (isNestedRead()) return;
  reserveEntry();
  while (lockCount_ < 0 || writers_.count > 0) wait(readers_);
  ++lockCount_;
  addThread(QVRSysGetThreadId());
}

void QVRReadersWriterLock::acquireWrite() {
  const ShortHold hold(monitor_);
  if (isNestedWrite()) return;
  reserveEntry();
  while (lockCount_ != 0) wait(writers_);
  lockCount_ = -1;
  addThread(QVRSysGetThreadId());
}

void QVRReadersWriterLock::acquire() { acquireWrite(); }

void QVRReadersWriterLock::release() {
  // Until the threads are awake: nobody else wakes those that are off their list.
  const ShortSection section;
  WaitList::wakeAll(giveBack());
}

bool QVRReadersWriterLock::isLocked() const {
  const ShortHold hold(monitor_);
  return findThread(QVRSysGetThreadId()) >= 0;
}

bool QVRReadersWriterLock::isReadLocked() const { return isLocked(); }

bool QVRReadersWriterLock::isWriteLocked() const {
  const ShortHold hold(monitor_);
  return lockCount_ < 0 && findThread(QVRSysGetThreadId()) >= 0;
}

int QVRReadersWriterLock::getNestingLevel() const {
  const ShortHold hold(monitor_);
  return lockCount_;
}

int QVRReadersWriterLock::findThread(const QVRSysThreadId& thread) const {
  for (std::size_t i = 0; i < holders_.size(); ++i) {
    if (holders_[i].thread == thread) return static_cast<int>(i);
  }
  return -1;
}

void QVRReadersWriterLock::addThread(const QVRSysThreadId& thread) {
  for (Holder& holder : holders_) {
    if (holder.thread.isValid()) continue;
    holder = {thread, 1};
    return;
  }
  holders_.push_back({thread, 1});
}

void QVRReadersWriterLock::removeThread(const QVRSysThreadId& thread) {
  const int index = findThread(thread);
  if (index >= 0) holders_[static_cast<std::size_t>(index)] = Holder{};
}

bool QVRReadersWriterLock::isNestedRead() {
  const int index = findThread(QVRSysGetThreadId());
  if (index < 0) return false;
  lockCount_ += lockCount_ < 1 ? -1 : 1;
  ++holders_[static_cast<std::size_t>(index)].holds;
  return true;
}

bool QVRReadersWriterLock::isNestedWrite() {
  const int index = findThread(QVRSysGetThreadId());
  if (index < 0) return false;
  if (lockCount_ >= 1) {
    throw QVREInternalError(u" Cannot acquire a write lock within a read-only transaction", kSource,
                            kUpgradeLine);
  }
  --lockCount_;
  ++holders_[static_cast<std::size_t>(index)].holds;
  return true;
}

bool QVRReadersWriterLock::isNestedRelease() {
  const int index = findThread(QVRSysGetThreadId());
  if (index < 0) throw QVREInternalError(u" Illegal useage; Not Owner ", kSource, kNotOwnerLine);
  lockCount_ += lockCount_ < 1 ? 1 : -1;
  return --holders_[static_cast<std::size_t>(index)].holds > 0;
}

bool QVRReadersWriterLock::isValid() const {
  std::int64_t sum = 0;
  for (const Holder& holder : holders_) sum += holder.holds;
  return sum == std::abs(static_cast<std::int64_t>(lockCount_));
}

// Room for every thread that holds the lock or waits, so that none fails for lack of
// memory once it was woken: the wake-up would be lost to the others.
void QVRReadersWriterLock::reserveEntry() {
  const auto waiting = static_cast<std::size_t>(readers_.count + writers_.count);
  holders_.reserve(holders_.size() + waiting + 1);
}

void QVRReadersWriterLock::wait(Queue& queue) {
  Waiter self;
  WaitList(queue.list).append(self);
  ++queue.count;
  monitor_.release();
  {
    const ShortSectionPause pause;
    self.sleep();
  }
  monitor_.acquire();
  --queue.count;
}

Waiter* QVRReadersWriterLock::giveBack() {
  const ShortHold hold(monitor_);
  if (isNestedRelease()) return nullptr;
  removeThread(QVRSysGetThreadId());
  if (lockCount_ == 0) holders_.clear();
  return takeNext();
}

// Writers, where there are any, find the lock free; readers need only that no writer
// waits.
Waiter* QVRReadersWriterLock::takeNext() {
  if (writers_.count > 0) return lockCount_ == 0 ? WaitList(writers_.list).takeAll() : nullptr;
  return WaitList(readers_.list).takeAll();
}
