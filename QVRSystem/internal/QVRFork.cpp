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

  template <class Action>
  static void forEach(Action action) {
    for (ForkLock* lock = first_; lock != nullptr; lock = lock->next_) {
      action(RecursiveLock(lock->storage_));
    }
  }

 private:
  static constinit ForkLock* first_;
};

constinit ForkLock* ForkLockList::first_ = nullptr;

namespace {

void acquireAll() {
  ForkLockList::forEach([](RecursiveLock lock) { lock.acquire(); });
}

void releaseAll() {
  ForkLockList::forEach([](RecursiveLock lock) { lock.release(); });
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
    : rank_(rank), storage_(*static_cast<RecursiveLockStorage*>(nativeLock)) {
  ForkLockList::insert(*this);
}

}  // namespace qvr::internal
