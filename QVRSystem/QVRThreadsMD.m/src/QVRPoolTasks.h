// What the workers of a thread pool share, with each other and with whoever changes the pool.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "QVRAtomicAccess.h"
#include "QVRCountedObject.h"
#include "QVRCountedPointer.h"
#include "QVRSysCondition.h"
#include "QVRSysIRunnableBody.h"
#include "QVRSysPCQueue.h"
#include "QVRSysRunnableFunctorBody.h"
#include "QVRThreadAnnotations.h"

namespace qvr::internal {

class PoolTasks;

/// What a thread of the pool runs.
class PoolWorker : public QVRSysRunnableFunctorBody {
 public:
  /// @throws std::bad_alloc
  explicit PoolWorker(QVRCountedPointer<PoolTasks> tasks);

 private:
  friend class PoolTasks;

  void internalRun();

  bool isDismissed() const noexcept { return isDismissed_.load(std::memory_order_relaxed); }

  const QVRCountedPointer<PoolTasks> tasks_;  // may outlive the pool

  // To end after the runnable in hand. Settled only under the lock of the tasks, which guards
  // the rest.
  Atomic<bool> isDismissed_ = false;
  std::uint64_t thread_ = 0;    // the serial number of the thread; 0 until it runs
  bool isLooping_ = false;      // started, and not seen to end
  bool isAwaited_ = false;      // whoever changes the pool waits for its end
  PoolWorker* next_ = nullptr;  // of those that loop
  PoolWorker* previous_ = nullptr;
};

/// The queue of a thread pool, the loops that serve it, and who may change the pool.
///
/// Lives as long as the pool, its workers, and whoever waits for them.
class PoolTasks : public QVRCountedObject,
                  public QVRSysPCQueue<QVRCountedPointer<QVRSysIRunnableBody>> {
 public:
  using Task = QVRCountedPointer<QVRSysIRunnableBody>;

  /// @throws QVREInternalError as QVRSysMutexLock does.
  PoolTasks() = default;

  /// Notes that a thread is about to run the worker's loop.
  /// @return `false` where one does already, and goes on.
  bool beginLoop(PoolWorker& worker);

  /// Notes on which thread that is.
  void enterLoop(PoolWorker& worker);

  /// Queues a runnable, if no other thread holds the pool lock or stops the pool just then.
  bool putUnlessHeld(Task& task, const QVRSysMutexLock& poolLock);

  /// Waits for the first runnable. @return `false` where the pool is stopped or the worker
  ///   dismissed; its loop has ended then.
  bool take(Task& task, PoolWorker& worker);

  /// Notes that the worker's loop has ended, if nobody did.
  void endLoop(PoolWorker& worker);

  /// Waits until nobody else changes the pool; then the caller may, and ends it with
  /// endChange().
  /// @return `false`, at once, where the one who changes it waits for the caller.
  bool beginChange();

  /// Notes that whoever changes the pool is to wait for the worker, and has it end where it is
  /// dismissed.
  void await(PoolWorker& worker, bool dismissed);

  void endChange();

  /// Waits until all loops have ended but the caller's and that of the one who changes the
  /// pool, which cannot end before.
  void awaitOtherLoops();

 private:
  PoolWorker* findCaller() QVR_REQUIRES(monitor());
  void _endLoop(PoolWorker& worker) QVR_REQUIRES(monitor());

  PoolWorker* looping_ QVR_GUARDED_BY(monitor()) = nullptr;  // linked
  std::size_t loops_ QVR_GUARDED_BY(monitor()) = 0;          // how many those are
  bool isChanging_ QVR_GUARDED_BY(monitor()) = false;
  bool isChangedByWorker_ QVR_GUARDED_BY(monitor()) = false;
  QVRSysCondition loopEnded_{mutex()};
  QVRSysCondition changeMoved_{mutex()};  // it has ended, or waits for somebody else
};

}  // namespace qvr::internal
