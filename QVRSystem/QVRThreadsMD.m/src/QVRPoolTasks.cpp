#include "QVRPoolTasks.h"

#include <atomic>
#include <utility>

#include "QVRFunctor0.h"
#include "QVRSysLockGuard.h"
#include "QVRSystem/internal/QVRThreadState.h"

namespace qvr::internal {

namespace {

/// Sees to it that the end of a loop is noted, however it ends.
class LoopScope {
 public:
  LoopScope(PoolTasks& tasks, PoolWorker& worker) : tasks_(tasks), worker_(worker) {
    tasks_.enterLoop(worker_);
  }
  ~LoopScope() { tasks_.endLoop(worker_); }

  LoopScope(const LoopScope&) = delete;
  LoopScope& operator=(const LoopScope&) = delete;

 private:
  PoolTasks& tasks_;
  PoolWorker& worker_;
};

}  // namespace

PoolWorker::PoolWorker(QVRCountedPointer<PoolTasks> tasks)
    : QVRSysRunnableFunctorBody(QVRMakeFunctor0(this, &PoolWorker::internalRun)),
      tasks_(std::move(tasks)) {}

void PoolWorker::internalRun() {
  const LoopScope scope(*tasks_, *this);
  PoolTasks::Task task;
  while (tasks_->take(task, *this)) {
    task->run();
    task.detach();
  }
}

bool PoolTasks::beginLoop(PoolWorker& worker) {
  const QVRSysLockGuard guard(monitor());
  if (worker.isLooping_) return false;
  worker.isLooping_ = true;
  worker.isAwaited_ = false;
  worker.thread_ = 0;
  worker.previous_ = nullptr;
  worker.next_ = std::exchange(looping_, &worker);
  if (worker.next_ != nullptr) worker.next_->previous_ = &worker;
  ++loops_;
  return true;
}

void PoolTasks::enterLoop(PoolWorker& worker) {
  const QVRSysLockGuard guard(monitor());
  worker.thread_ = currentThreadSerial();
}

bool PoolTasks::putUnlessHeld(Task& task, const QVRSysMutexLock& poolLock) {
  return tryForAWhile([&] { return putAtOnce(task, &poolLock); });
}

bool PoolTasks::take(Task& task, PoolWorker& worker) {
  const auto takeAtOnce = [&] { return !worker.isDismissed() && getAtOnce(task); };
  if (tryForAWhile(takeAtOnce)) return true;
  const QVRSysLockGuard guard(monitor());
  while (!isStopped() && !worker.isDismissed()) {
    if (getAtOnce(task)) return true;
    itemsAvailable_.wait();
  }
  _endLoop(worker);  // under the same hold: a restart finds it ended or going on
  return false;
}

void PoolTasks::endLoop(PoolWorker& worker) {
  const QVRSysLockGuard guard(monitor());
  _endLoop(worker);
}

void PoolTasks::_endLoop(PoolWorker& worker) {
  if (!std::exchange(worker.isLooping_, false)) return;
  (worker.previous_ == nullptr ? looping_ : worker.previous_->next_) = worker.next_;
  if (worker.next_ != nullptr) worker.next_->previous_ = worker.previous_;
  --loops_;
  loopEnded_.signalAll();
}

bool PoolTasks::beginChange() {
  const QVRSysLockGuard guard(monitor());
  const PoolWorker* const caller = findCaller();
  while (isChanging_) {
    if (caller != nullptr && caller->isAwaited_) return false;
    changeMoved_.wait();
  }
  isChanging_ = true;
  isChangedByWorker_ = caller != nullptr;
  return true;
}

void PoolTasks::await(PoolWorker& worker, bool dismissed) {
  const QVRSysLockGuard guard(monitor());
  worker.isAwaited_ = true;
  changeMoved_.signalAll();
  if (!dismissed) return;
  worker.isDismissed_.store(true, std::memory_order_relaxed);
  itemsAvailable_.signalAll();
}

void PoolTasks::endChange() {
  const QVRSysLockGuard guard(monitor());
  isChanging_ = false;
  for (PoolWorker* worker = looping_; worker != nullptr; worker = worker->next_) {
    worker->isAwaited_ = false;
  }
  changeMoved_.signalAll();
}

void PoolTasks::awaitOtherLoops() {
  const QVRSysLockGuard guard(monitor());
  const std::size_t others = isChangedByWorker_ ? 2 : 1;
  while (loops_ > others) loopEnded_.wait();
}

PoolWorker* PoolTasks::findCaller() {
  const std::uint64_t thread = currentThreadSerial();
  PoolWorker* worker = looping_;
  while (worker != nullptr && worker->thread_ != thread) worker = worker->next_;
  return worker;
}

}  // namespace qvr::internal
