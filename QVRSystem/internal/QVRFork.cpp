#include "QVRSystem/internal/QVRFork.h"

#include <utility>

#include "QVRSystem/internal/QVRNativeMutex.h"
#include "QVRSystem/internal/QVRThread.h"
#include "QVRSystem/internal/QVRThreadState.h"
#include "QVRSystem/platform/QVRPlatformThread.h"

namespace qvr::internal {

/// All ForkLocks, lowest rank first. Filled by static constructors, which run
/// on one thread; afterwards only read.
class ForkLockList {
 public:
  static void insert(ForkLock& lock) noexcept {
    ForkLock** place = &first_;
    while (*place != nullptr && (*place)->rank_ <= lock.rank_) place = &(*place)->next_;
    lock.next_ = *place;
    *place = &lock;
  }

  static void forEach(const ForkLock::Action& action) {
    for (const ForkLock* lock = first_; lock != nullptr; lock = lock->next_) lock->apply(action);
  }

  static void forEachBackwards(const ForkLock::Action& action) { fromLastTo(first_, action); }

 private:
  static void fromLastTo(const ForkLock* lock, const ForkLock::Action& action) {
    if (lock == nullptr) return;
    fromLastTo(lock->next_, action);
    lock->apply(action);
  }

  static constinit ForkLock* first_;
};

constinit ForkLock* ForkLockList::first_ = nullptr;

namespace {

/// Before the fork: leaves nobody inside who would be missing in the child.
class Acquire final : public ForkLock::Action {
 public:
  void operator()(RecursiveLock lock) const noexcept override {
    if (std::exchange(holdsNothing_, false)) {
      // That of the trace lines, with which others may run a caller's code.
      const OpenWait wait;
      lock.acquire();
    } else {
      lock.acquire();
    }
  }
  void operator()(BiasedLock lock) const noexcept override {
    lock.shared().acquire();
    lock.keepOthersOut();
  }
  // Its holder may keep it for long, and what changes under it does so under another lock too.
  void operator()(NativeMutex& /*monitor*/) const noexcept override {}

 private:
  mutable bool holdsNothing_ = true;
};

/// After it, in the parent and at last in the child.
class Release final : public ForkLock::Action {
 public:
  void operator()(RecursiveLock lock) const noexcept override { lock.release(); }
  void operator()(BiasedLock lock) const noexcept override { lock.shared().release(); }
  void operator()(NativeMutex& /*monitor*/) const noexcept override {}
};

/// In the child: its only thread has another identifier than the one it was made from.
/// Locks that the caller held when it forked stay the caller's.
class HandOver final : public ForkLock::Action {
 public:
  HandOver(std::uint32_t before, std::uint32_t now) : before_(before), now_(now) {}

  void operator()(RecursiveLock lock) const noexcept override { lock.restamp(before_, now_); }
  void operator()(BiasedLock lock) const noexcept override { lock.shared().restamp(before_, now_); }
  void operator()(NativeMutex& monitor) const noexcept override { monitor.continueInChild(); }

 private:
  const std::uint32_t before_;
  const std::uint32_t now_;
};

// From prepare() on the thread holds every lock of the list: until it has given them back, a
// short section.
void prepare() {
  beginShortSection();
  ForkLockList::forEach(Acquire());
}

void endSection() { endShortSection(threadState.shortSections.load() - 1); }

// Highest rank first: what a lock guards may be the locks after it.
void continueInParent() {
  ForkLockList::forEachBackwards(Release());
  endSection();
}

void continueInChild() {
  const std::uint32_t before = currentThreadId();
  ForkLockList::forEach(HandOver(before, refreshThreadId()));
  Thread::continueInChild();
  forgetOtherBiasedThreads();
  ForkLockList::forEachBackwards(Release());
  endSection();
}

// Failing to register is a lack of memory while the library is loaded; then a
// child is no worse off than with any library that has no handlers.
[[maybe_unused]] const int registered =
    platform::atFork(&prepare, &continueInParent, &continueInChild);

}  // namespace

ForkLock::ForkLock(ForkRank rank, void* nativeLock) noexcept
    : rank_(rank), storage_(static_cast<RecursiveLockStorage*>(nativeLock)) {
  ForkLockList::insert(*this);
}

ForkLock::ForkLock(ForkRank rank, ForEach forEach) noexcept : rank_(rank), forEach_(forEach) {
  ForkLockList::insert(*this);
}

void ForkLock::apply(const Action& action) const {
  if (storage_ != nullptr) action(RecursiveLock(*storage_));
  if (forEach_ != nullptr) forEach_(action);
}

}  // namespace qvr::internal
