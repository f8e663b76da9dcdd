#include "QVRForkedBody.h"

#include "QVRRecursiveLock.h"
#include "QVRSystem/internal/QVRFork.h"
#include "QVRSystem/internal/QVRThreadState.h"

namespace qvr::internal {

namespace {

constinit RecursiveLockStorage listLock{};

/// Holds the lock of the list for a scope.
class ListSection {
 public:
  ListSection() noexcept { RecursiveLock(listLock).acquire(); }
  ~ListSection() { RecursiveLock(listLock).release(); }

  ListSection(const ListSection&) = delete;
  ListSection& operator=(const ListSection&) = delete;

 private:
  ShortSection section_;
};

}  // namespace

/// All of them, in no order.
class ForkedBodyList {
 public:
  static void insert(ForkedBody& body) noexcept {
    const ListSection section;
    link(first_, &body);
    body.place_ = &first_;
    first_ = &body;
  }

  static void remove(ForkedBody& body) noexcept {
    const ListSection section;
    *body.place_ = body.next_;
    if (body.next_ != nullptr) body.next_->place_ = body.place_;
  }

  static void forEach(const ForkLock::Action& action) {
    for (const ForkedBody* body = first_; body != nullptr; body = body->next_) {
      action(**body->monitor_);
      if (body->lock_ != nullptr) action(BiasedLock(*body->lock_));
    }
  }

 private:
  static void link(ForkedBody* next, ForkedBody* before) noexcept {
    before->next_ = next;
    if (next != nullptr) next->place_ = &before->next_;
  }

  static constinit ForkedBody* first_;  // guarded by listLock
};

constinit ForkedBody* ForkedBodyList::first_ = nullptr;

namespace {

const ForkLock forkListLock(ForkRank::BodyList, &listLock);
const ForkLock forkBodies(ForkRank::Bodies, &ForkedBodyList::forEach);

}  // namespace

ForkedBody::ForkedBody(void* monitor, BiasedLockStorage* lock) noexcept
    : monitor_(static_cast<NativeMutex* const*>(monitor)), lock_(lock) {
  ForkedBodyList::insert(*this);
}

ForkedBody::~ForkedBody() { ForkedBodyList::remove(*this); }

}  // namespace qvr::internal
