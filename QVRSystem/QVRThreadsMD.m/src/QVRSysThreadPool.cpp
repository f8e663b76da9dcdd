#include "QVRSysThreadPool.h"

#include <algorithm>
#include <utility>

#include "QVRAssert.h"
#include "QVRPoolCrew.h"
#include "QVRPoolTasks.h"
#include "QVRSysLockGuard.h"

using qvr::internal::PoolCrew;
using qvr::internal::PoolTasks;

namespace {

// What callers see.
constexpr char kSource[] = "QVRSystem/QVRThreadsMD.m/src/QVRSysThreadPool";
constexpr int kEnlargeLine = 104;
constexpr char kGrows[] = "newSize > size_";

/// The right to change which threads run. Keeps what is needed to give it back: a worker for
/// which the change waits may destroy the pool meanwhile.
class Change {
 public:
  explicit Change(const QVRCountedPointer<PoolTasks>& tasks)
      : tasks_(tasks), isGranted_(tasks->beginChange()) {}
  ~Change() {
    if (isGranted_) tasks_->endChange();
  }

  Change(const Change&) = delete;
  Change& operator=(const Change&) = delete;

  bool isGranted() const { return isGranted_; }

 private:
  const QVRCountedPointer<PoolTasks> tasks_;
  const bool isGranted_;
};

}  // namespace

QVRSysThreadPool::QVRSysThreadPool(int size)
    : size_(static_cast<std::size_t>(std::max(size, 0))),
      tasks_(new PoolTasks),
      crew_(new PoolCrew(tasks_, size_)) {}

QVRSysThreadPool::~QVRSysThreadPool() {
  if (!stopWorkers()) tasks_->awaitOtherLoops();
  tasks_->clear();
}

void QVRSysThreadPool::start() {
  const Change change(tasks_);
  if (!change.isGranted()) return;
  const QVRSysLockGuard guard(monitor());
  tasks_->restart();
  crew_->start(size_);
}

void QVRSysThreadPool::stop() { stopWorkers(); }

bool QVRSysThreadPool::stopWorkers() {
  const QVRCountedPointer<PoolCrew> crew = crew_;
  const Change change(tasks_);
  QVRSysLockGuard guard(monitor());
  tasks_->stop();
  guard.release();
  if (change.isGranted()) crew->join();
  return change.isGranted();
}

bool QVRSysThreadPool::enqueue(QVRCountedPointer<QVRSysIRunnableBody> runnable) {
  if (!runnable) return false;
  if (tasks_->putUnlessHeld(runnable, mutex())) return true;
  const QVRSysLockGuard guard(monitor());
  return tasks_->put(std::move(runnable));
}

void QVRSysThreadPool::enlarge(std::size_t newSize) {
  const QVRCountedPointer<PoolCrew> crew = crew_;
  const Change change(tasks_);
  if (!change.isGranted()) return;
  QVRSysLockGuard guard(monitor());
  if (newSize <= size_) QVRReportAssert("Assertion", kGrows, kSource, kEnlargeLine);
  const std::size_t oldSize = std::exchange(size_, newSize);
  if (newSize > oldSize) crew->grow(oldSize, newSize);
  guard.release();
  crew->shrink(newSize);
}

std::size_t QVRSysThreadPool::size() const {
  const QVRSysLockGuard guard(monitor());
  return size_;
}

std::size_t QVRSysThreadPool::numberTasksPending() const {
  const QVRSysLockGuard guard(monitor());
  return tasks_->count();
}
