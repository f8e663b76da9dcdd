#include "QVRSystem/internal/QVRFork.h"

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

void acquireAll() {
  ForkLockList::forEach([](RecursiveLock lock) { lock.acquire(); });
}

// Highest rank first: what a lock guards may be the locks after it.
void releaseAll() {
  ForkLockList::forEachBackwards([](RecursiveLock lock) { lock.release(); });
}

// The only thread of the child has another identifier than the one it was made
// from; locks that the caller held when it forked stay the caller's.
void continueInChild() {
  const std::uint32_t before = currentThreadId();
  const std::uint32_t now = refreshThreadId();
  ForkLockList::forEach([&](RecursiveLock lock) { lock.restamp(before, now); });
  releaseAll();
}

// Failing to register is a lack of memory while the library is loaded; then a
// child is no worse off than with any library that has no handlers.
[[maybe_unused]] const int registered =
    platform::atFork(&acquireAll, &releaseAll, &continueInChild);

}  // namespace

ForkLock::ForkLock(ForkRank rank, void* nativeLock) noexcept
    : rank_(rank), storage_(static_cast<RecursiveLockStorage*>(nativeLock)) {
  ForkLockList::insert(*this);
}

ForkLock::ForkLock(ForkRank rank, ForEach forEach) noexcept : rank_(rank), forEach_(forEach) {
  ForkLockList::insert(*this);
}

void ForkLock::apply(const Action& action) const {
  if (forEach_ != nullptr) {
    forEach_(action);
  } else {
    action(RecursiveLock(*storage_));
  }
}

}  // namespace qvr::internal
