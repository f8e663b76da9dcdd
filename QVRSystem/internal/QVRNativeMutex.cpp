#include "QVRSystem/internal/QVRNativeMutex.h"

#include <cerrno>
#include <new>

#include "QVRRecursiveLock.h"
#include "QVRSystem/internal/QVRFork.h"
#include "QVRSystem/internal/QVRThreadState.h"

namespace qvr::internal {

namespace {

constinit RecursiveLockStorage orphanLock{};
const ForkLock forkOrphanLock(ForkRank::OrphanedMutexes, &orphanLock);

/// Holds the lock of the orphans for a scope.
class OrphanSection {
 public:
  OrphanSection() noexcept { RecursiveLock(orphanLock).acquire(); }
  ~OrphanSection() { RecursiveLock(orphanLock).release(); }

  OrphanSection(const OrphanSection&) = delete;
  OrphanSection& operator=(const OrphanSection&) = delete;

 private:
  ShortSection section_;
};

}  // namespace

/// Mutexes that were closed and could not be freed: those that another thread
/// held, until it ends.
class OrphanList {
  using AtomicLink = AtomicRef<NativeMutex*>;

 public:
  static void add(NativeMutex* orphan) noexcept {
    const OrphanSection section;
    append(orphan);
  }

  /// Frees what can be freed of the first few and puts the rest of them behind the
  /// others, so that a new mutex costs the same however many orphans there are.
  static void sweep() noexcept {
    constexpr int kLooks = 2;
    for (int look = 0; look < kLooks; ++look) delete takeClosable();
  }

 private:
  /// The first, off the list, where it can be freed; null otherwise.
  static NativeMutex* takeClosable() noexcept {
    if (AtomicLink(first_).load(std::memory_order_relaxed) == nullptr) return nullptr;
    const OrphanSection section;
    if (first_ == nullptr) return nullptr;
    NativeMutex* const orphan = takeFirst();
    orphan->followLastHolder();
    if (platform::closeMutex(orphan->mutex_) == 0) return orphan;
    append(orphan);
    return nullptr;
  }

  static void append(NativeMutex* orphan) noexcept {
    orphan->nextOrphan_ = nullptr;
    NativeMutex*& link = first_ == nullptr ? first_ : last_->nextOrphan_;
    AtomicLink(link).store(orphan, std::memory_order_relaxed);
    last_ = orphan;
  }

  static NativeMutex* takeFirst() noexcept {
    NativeMutex* const orphan = first_;
    AtomicLink(first_).store(orphan->nextOrphan_, std::memory_order_relaxed);
    return orphan;
  }

  // Guarded by orphanLock; whether there is a first is also read without it.
  static constinit NativeMutex* first_;
  static constinit NativeMutex* last_;
};

constinit NativeMutex* OrphanList::first_ = nullptr;
constinit NativeMutex* OrphanList::last_ = nullptr;

int NativeMutex::create(NativeMutex*& made) noexcept {
  OrphanList::sweep();
  NativeMutex* const mutex = new (std::nothrow) NativeMutex;
  if (mutex == nullptr) return ENOMEM;
  if (const int error = platform::createMutex(mutex->mutex_); error != 0) {
    delete mutex;
    return error;
  }
  made = mutex;
  return 0;
}

bool NativeMutex::close(NativeMutex* mutex) noexcept {
  if (mutex == nullptr) return false;
  if (mutex->isHeldByCaller()) {
    platform::releaseMutex(mutex->mutex_);
    giveDeferredWake();
  }
  mutex->followLastHolder();
  const int error = platform::closeMutex(mutex->mutex_);
  if (error == 0) {
    delete mutex;
  } else {
    OrphanList::add(mutex);
  }
  return error == 0 || error == EBUSY;
}

// The system's own mutex knows its holder by an identifier that nobody has in the child.
void NativeMutex::continueInChild() noexcept {
  if (platform::createMutex(mutex_) != 0) return;
  if (isHeldByCaller()) {
    platform::waitMutex(mutex_);
  } else {
    holder_.store(kNobody, std::memory_order_relaxed);
  }
}

}  // namespace qvr::internal
