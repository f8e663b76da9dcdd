#include "QVRReadersWriterLock.h"

#include <algorithm>
#include <cstdlib>

#include "QVREInternalError.h"
#include "QVRHolderIndex.h"
#include "QVRShortHold.h"
#include "QVRSystem/internal/QVRThreadState.h"
#include "QVRSystem/internal/QVRWaitList.h"

using qvr::internal::HolderIndex;
using qvr::internal::ShortHold;
using qvr::internal::ShortSectionPause;
using qvr::internal::Waiter;
using qvr::internal::WaitList;

namespace {

// What callers see.
constexpr char kSource[] = "QVRSystem/QVRThreadsMD.m/src/QVRReadersWriterLock";
constexpr int kUpgradeLine = 242;
constexpr int kNotOwnerLine = 265;

// So many entries are there from the start, and are quickest to look through.
constexpr std::size_t kFewHolders = 8;

QVRSysThreadId currentThread() noexcept { return qvr::internal::currentThreadId(); }

}  // namespace

QVRReadersWriterLock::QVRReadersWriterLock() { holders_.reserve(kFewHolders); }

QVRReadersWriterLock::~QVRReadersWriterLock() = default;

void QVRReadersWriterLock::acquireRead() {
  const QVRSysThreadId self = currentThread();
  const ShortHold hold(monitor_);
  if (isNestedRead(self)) return;
  reserveEntry();
  while (lockCount_ < 0 || writers_.count > 0) wait(readers_);
  ++lockCount_;
  addThread(self);
}

void QVRReadersWriterLock::acquireWrite() {
  const QVRSysThreadId self = currentThread();
  const ShortHold hold(monitor_);
  if (isNestedWrite(self)) return;
  reserveEntry();
  while (lockCount_ != 0) wait(writers_);
  lockCount_ = -1;
  addThread(self);
}

void QVRReadersWriterLock::acquire() { acquireWrite(); }

void QVRReadersWriterLock::release() {
  ShortHold hold(monitor_);
  Waiter* const next = giveBack();
  hold.release();
  WaitList::wakeAll(next);
}

bool QVRReadersWriterLock::isLocked() const {
  const ShortHold hold(monitor_);
  return findThread(currentThread()) >= 0;
}

bool QVRReadersWriterLock::isReadLocked() const { return isLocked(); }

bool QVRReadersWriterLock::isWriteLocked() const {
  const ShortHold hold(monitor_);
  return lockCount_ < 0 && findThread(currentThread()) >= 0;
}

int QVRReadersWriterLock::getNestingLevel() const {
  const ShortHold hold(monitor_);
  return lockCount_;
}

int QVRReadersWriterLock::findThread(const QVRSysThreadId& thread) const {
  if (index_ != nullptr) return thread.isValid() ? index_->find(thread.getNativeThreadIdRep()) : -1;
  for (std::size_t i = 0; i < holders_.size(); ++i) {
    if (holders_[i].thread == thread) return static_cast<int>(i);
  }
  return -1;
}

void QVRReadersWriterLock::addThread(const QVRSysThreadId& thread) {
  const std::size_t entry = findFreeEntry();
  if (entry == holders_.size()) holders_.emplace_back();
  holders_[entry] = {thread, 1};
  if (index_ != nullptr) index_->add(thread.getNativeThreadIdRep(), static_cast<int>(entry));
}

void QVRReadersWriterLock::removeThread(int entry) {
  Holder& holder = holders_[static_cast<std::size_t>(entry)];
  if (index_ != nullptr) index_->remove(holder.thread.getNativeThreadIdRep());
  holder = Holder{};
}

bool QVRReadersWriterLock::isNestedRead(const QVRSysThreadId& thread) {
  const int entry = findThread(thread);
  if (entry < 0) return false;
  lockCount_ += lockCount_ < 1 ? -1 : 1;
  ++holders_[static_cast<std::size_t>(entry)].holds;
  return true;
}

bool QVRReadersWriterLock::isNestedWrite(const QVRSysThreadId& thread) {
  const int entry = findThread(thread);
  if (entry < 0) return false;
  if (lockCount_ >= 1) {
    throw QVREInternalError(u" Cannot acquire a write lock within a read-only transaction", kSource,
                            kUpgradeLine);
  }
  --lockCount_;
  ++holders_[static_cast<std::size_t>(entry)].holds;
  return true;
}

bool QVRReadersWriterLock::isNestedRelease(int entry) {
  lockCount_ += lockCount_ < 1 ? 1 : -1;
  return --holders_[static_cast<std::size_t>(entry)].holds > 0;
}

bool QVRReadersWriterLock::isValid() const {
  std::int64_t sum = 0;
  for (const Holder& holder : holders_) sum += holder.holds;
  return sum == std::abs(static_cast<std::int64_t>(lockCount_));
}

// The end of the table counts: it follows the last entry in use.
std::size_t QVRReadersWriterLock::findFreeEntry() const {
  if (index_ != nullptr) return static_cast<std::size_t>(index_->firstFree());
  std::size_t entry = 0;
  while (entry < holders_.size() && holders_[entry].thread.isValid()) ++entry;
  return entry;
}

// Room for every thread that holds the lock or waits, so that none fails for lack of
// memory once it was woken: the wake-up would be lost to the others.
void QVRReadersWriterLock::reserveEntry() {
  const auto waiting = static_cast<std::size_t>(readers_.count + writers_.count);
  const std::size_t entries = holders_.size() + waiting + 1;
  if (entries > holders_.capacity()) grow(std::max(entries, 2 * holders_.capacity()));
}

void QVRReadersWriterLock::grow(std::size_t entries) {
  if (index_ == nullptr) {
    index_ = makeIndex(entries);
  } else {
    index_->reserve(entries);
  }
  holders_.reserve(entries);
}

std::unique_ptr<HolderIndex> QVRReadersWriterLock::makeIndex(std::size_t entries) const {
  auto index = std::make_unique<HolderIndex>();
  index->reserve(entries);
  for (std::size_t i = 0; i < holders_.size(); ++i) {
    const QVRSysThreadId& thread = holders_[i].thread;
    if (thread.isValid()) index->add(thread.getNativeThreadIdRep(), static_cast<int>(i));
  }
  return index;
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
  const int entry = findThread(currentThread());
  if (entry < 0) throw QVREInternalError(u" Illegal useage; Not Owner ", kSource, kNotOwnerLine);
  if (isNestedRelease(entry)) return nullptr;
  removeThread(entry);
  if (lockCount_ == 0) holders_.clear();
  return takeNext();
}

// Writers, where there are any, find the lock free; readers need only that no writer
// waits.
Waiter* QVRReadersWriterLock::takeNext() {
  if (writers_.count > 0) return lockCount_ == 0 ? WaitList(writers_.list).takeAll() : nullptr;
  return WaitList(readers_.list).takeAll();
}
