#include "QVRReadersWriterLock.h"

#include <algorithm>
#include <cstdlib>

#include "QVREInternalError.h"
#include "QVRHolderIndex.h"
#include "QVRShortHold.h"
#include "QVRSystem/internal/QVRThreadState.h"
#include "QVRSystem/internal/QVRWaitList.h"

using qvr::internal::currentThreadId;
using qvr::internal::EndableWait;
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

// The word where nobody holds the lock or waits for it, and where the table and the
// queues say who does, if anybody. Any other is the one thread that holds it, and its
// holds.
constexpr std::uint64_t kFree = 0;
constexpr std::uint64_t kInTable = ~std::uint64_t{0};

// The count of a first hold.
constexpr std::int32_t kRead = 1;
constexpr std::int32_t kWrite = -1;

std::uint64_t wordOf(std::uint32_t thread, std::int32_t count) {
  return std::uint64_t{thread} << 32 | static_cast<std::uint32_t>(count);
}

std::uint32_t holderOf(std::uint64_t word) { return static_cast<std::uint32_t>(word >> 32); }

std::int32_t countOf(std::uint64_t word) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(word));
}

// A count changed by so much; in 64 bits, since one past its end wraps.
std::int32_t plus(std::int32_t count, std::int32_t change) {
  return static_cast<std::int32_t>(std::int64_t{count} + change);
}

// The lock count with one hold more or less of the kind that there is.
std::int32_t deeper(std::int32_t count) { return plus(count, count < 1 ? -1 : 1); }
std::int32_t shallower(std::int32_t count) { return plus(count, count < 1 ? 1 : -1); }

// The holds that a lock count stands for.
std::int32_t holdsOf(std::int32_t count) {
  return static_cast<std::int32_t>(std::abs(std::int64_t{count}));
}

// Called without the monitor: making an exception runs a caller's operator new and
// takes locks of the library.
[[noreturn]] void refuseUpgrade() {
  throw QVREInternalError(u" Cannot acquire a write lock within a read-only transaction", kSource,
                          kUpgradeLine);
}

[[noreturn]] void refuseStranger() {
  throw QVREInternalError(u" Illegal useage; Not Owner ", kSource, kNotOwnerLine);
}

}  // namespace

// Room for more holders, asked for while the monitor is free; and what it has replaced, given
// back when that is free again.
struct QVRReadersWriterLock::Growth {
  std::vector<Holder> holders{};
  std::unique_ptr<HolderIndex> index{};
};

QVRReadersWriterLock::QVRReadersWriterLock() { holders_.reserve(kFewHolders); }

QVRReadersWriterLock::~QVRReadersWriterLock() = default;

void QVRReadersWriterLock::acquireRead() {
  const std::uint32_t self = currentThreadId();
  if (!takeAlone(self, kRead)) joinReaders(self);
}

void QVRReadersWriterLock::joinReaders(std::uint32_t self) {
  Growth growth;
  const ShortHold hold(monitor_);
  enterTable();
  if (isNestedRead(self)) return;
  reserveEntry(growth);
  while (lockCount_ < 0 || writers_.count > 0) wait(readers_);
  enter(self, kRead);
}

void QVRReadersWriterLock::acquireWrite() {
  const std::uint32_t self = currentThreadId();
  if (!takeAlone(self, kWrite) && !becomeWriter(self)) refuseUpgrade();
}

// False where the caller reads, and so must be refused.
bool QVRReadersWriterLock::becomeWriter(std::uint32_t self) {
  Growth growth;
  const ShortHold hold(monitor_);
  enterTable();
  if (isUpgrade(self)) return false;
  if (isNestedWrite(self)) return true;
  reserveEntry(growth);
  while (lockCount_ != 0) wait(writers_);
  enter(self, kWrite);
  return true;
}

void QVRReadersWriterLock::acquire() { acquireWrite(); }

void QVRReadersWriterLock::release() {
  const std::uint32_t self = currentThreadId();
  if (!giveBackAlone(self) && !leave(self)) refuseStranger();
}

// False where the caller holds nothing.
bool QVRReadersWriterLock::leave(std::uint32_t self) {
  ShortHold hold(monitor_);
  enterTable();
  const int entry = findThread(self);
  if (entry < 0) return false;
  Waiter* const next = giveBack(entry);
  hold.release();
  WaitList::wakeAll(next);
  return true;
}

bool QVRReadersWriterLock::isLocked() const {
  const std::uint64_t word = word_.load(std::memory_order_relaxed);
  if (word != kInTable) return holderOf(word) == currentThreadId();
  const ShortHold hold(monitor_);
  return findThread(currentThreadId()) >= 0;
}

bool QVRReadersWriterLock::isReadLocked() const { return isLocked(); }

bool QVRReadersWriterLock::isWriteLocked() const {
  const std::uint64_t word = word_.load(std::memory_order_relaxed);
  if (word != kInTable) return countOf(word) < 0 && holderOf(word) == currentThreadId();
  const ShortHold hold(monitor_);
  return lockCount_ < 0 && findThread(currentThreadId()) >= 0;
}

int QVRReadersWriterLock::getNestingLevel() const {
  // Pairs with giveBackAlone(), as taking the monitor would.
  const std::uint64_t word = word_.load(std::memory_order_acquire);
  if (word != kInTable) return countOf(word);
  const ShortHold hold(monitor_);
  return lockCount_;
}

// Takes a hold if no other thread has one or waits; not one that must be refused.
bool QVRReadersWriterLock::takeAlone(std::uint32_t self, std::int32_t firstHold) noexcept {
  std::uint64_t seen = word_.load(std::memory_order_relaxed);
  std::int32_t count = firstHold;
  if (seen != kFree) {
    const bool upgrades = firstHold == kWrite && countOf(seen) > 0;
    if (holderOf(seen) != self || upgrades) return false;
    count = deeper(countOf(seen));
  }
  // Pairs with giveBackAlone(): what the last holder wrote is visible from here on.
  return word_.compare_exchange_strong(seen, wordOf(self, count), std::memory_order_acquire,
                                       std::memory_order_relaxed);
}

bool QVRReadersWriterLock::giveBackAlone(std::uint32_t self) noexcept {
  std::uint64_t seen = word_.load(std::memory_order_relaxed);
  if (holderOf(seen) != self) return false;
  const std::int32_t count = shallower(countOf(seen));
  return word_.compare_exchange_strong(seen, count == 0 ? kFree : wordOf(self, count),
                                       std::memory_order_release, std::memory_order_relaxed);
}

// Moves what the word says into the table, which is empty then and so has room.
void QVRReadersWriterLock::enterTable() {
  if (word_.load(std::memory_order_relaxed) == kInTable) return;
  // Pairs with giveBackAlone(): what the last holder wrote is visible.
  const std::uint64_t word = word_.exchange(kInTable, std::memory_order_acquire);
  if (word == kFree) return;
  lockCount_ = countOf(word);
  addThread(holderOf(word));
  holders_.front().holds = holdsOf(lockCount_);
}

// The caller's first hold: in the word again where nobody else holds the lock or waits
// for it. Only here, with the monitor still to be given back by one that holds the lock:
// a last hold that freed the word under the monitor would let another thread take the
// lock, give it back and destroy it, monitor and all.
void QVRReadersWriterLock::enter(std::uint32_t self, std::int32_t firstHold) {
  if (lockCount_ == 0 && readers_.count + writers_.count == 0) {
    // No order: what the holders before wrote is visible by the monitor.
    word_.store(wordOf(self, firstHold), std::memory_order_relaxed);
    return;
  }
  lockCount_ = plus(lockCount_, firstHold);
  addThread(self);
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

// A write hold inside a read hold.
bool QVRReadersWriterLock::isUpgrade(const QVRSysThreadId& thread) const {
  return lockCount_ >= 1 && findThread(thread) >= 0;
}

bool QVRReadersWriterLock::isNestedRead(const QVRSysThreadId& thread) {
  const int entry = findThread(thread);
  if (entry < 0) return false;
  std::int32_t& holds = holders_[static_cast<std::size_t>(entry)].holds;
  lockCount_ = deeper(lockCount_);
  holds = plus(holds, 1);
  return true;
}

// Inside holds of its own kind: one more is one more of either.
bool QVRReadersWriterLock::isNestedWrite(const QVRSysThreadId& thread) {
  return isNestedRead(thread);
}

bool QVRReadersWriterLock::isNestedRelease(int entry) {
  std::int32_t& holds = holders_[static_cast<std::size_t>(entry)].holds;
  lockCount_ = shallower(lockCount_);
  holds = plus(holds, -1);
  return holds > 0;
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

// The entries for every thread that holds the lock or waits, so that none fails for lack of
// memory once it was woken: the wake-up would be lost to the others.
std::size_t QVRReadersWriterLock::neededEntries() const {
  return holders_.size() + static_cast<std::size_t>(readers_.count + writers_.count) + 1;
}

// Room for the caller among them. A caller's operator new runs without the monitor, for which
// others wait; what they do meanwhile is looked at again.
void QVRReadersWriterLock::reserveEntry(Growth& growth) {
  while (neededEntries() > holders_.capacity()) {
    const std::size_t entries = std::max(neededEntries(), 2 * holders_.capacity());
    fetch(growth, entries);
    enterTable();
    if (neededEntries() > holders_.capacity() && neededEntries() <= entries) exchange(growth);
  }
}

void QVRReadersWriterLock::fetch(Growth& growth, std::size_t entries) {
  struct Pause {
    explicit Pause(QVRSysCriticalSection& monitor) : monitor_(monitor) { monitor_.release(); }
    ~Pause() { monitor_.acquire(); }
    QVRSysCriticalSection& monitor_;
  };
  const Pause withoutMonitor(monitor_);
  const ShortSectionPause pause;
  growth = Growth();
  growth.holders.reserve(entries);
  growth.index = std::make_unique<HolderIndex>();
  growth.index->reserve(entries);
}

void QVRReadersWriterLock::exchange(Growth& growth) {
  growth.holders.assign(holders_.begin(), holders_.end());
  for (std::size_t i = 0; i < holders_.size(); ++i) {
    const QVRSysThreadId& thread = holders_[i].thread;
    if (thread.isValid()) growth.index->add(thread.getNativeThreadIdRep(), static_cast<int>(i));
  }
  holders_.swap(growth.holders);
  index_.swap(growth.index);
}

/// A thread in one of the queues. Made and ended by it with the monitor held.
class QVRReadersWriterLock::QueuedWait final : public EndableWait {
 public:
  QueuedWait(QVRReadersWriterLock& lock, Queue& queue) noexcept : lock_(lock), queue_(queue) {
    WaitList(queue_.list).append(waiter_);
    ++queue_.count;
    begin();
  }
  ~QueuedWait() {
    end();
    --queue_.count;
  }

  void sleep() noexcept { waiter_.sleep(); }

  // Readers may have waited for this writer only.
  void leave() noexcept override {
    ShortHold hold(lock_.monitor_);
    const bool isWoken = !WaitList(queue_.list).remove(waiter_);
    --queue_.count;
    Waiter* const next = &queue_ == &lock_.writers_ ? lock_.takeNext() : nullptr;
    hold.release();
    WaitList::wakeAll(next);
    if (isWoken) waiter_.awaitWaker();
  }

 private:
  QVRReadersWriterLock& lock_;
  Queue& queue_;
  Waiter waiter_;
};

void QVRReadersWriterLock::wait(Queue& queue) {
  QueuedWait self(*this, queue);
  monitor_.release();
  {
    const ShortSectionPause pause;
    self.sleep();
  }
  monitor_.acquire();
}

Waiter* QVRReadersWriterLock::giveBack(int entry) {
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
