// Threads that share work.
#pragma once

#include <cstddef>

#include "QVRCountedPointer.h"
#include "QVRSysIRunnableBody.h"
#include "QVRSysMonitor.h"
#include "QVRSystemExport.h"
#include "QVRThreadAnnotations.h"

namespace qvr::internal {
class PoolCrew;
class PoolTasks;
}  // namespace qvr::internal

/// Runs runnables on a fixed number of threads, its workers, which take them in the order
/// in which they came. Can be stopped, started again, and enlarged while it runs.
///
/// | from | operation | to |
/// |---|---|---|
/// | made, workers idle | start | running |
/// | running | stop, destructor | stopped, workers joined |
/// | stopped | start | running, first with what was left |
///
/// Of a runnable run() alone is called, with no lock held. One that is not made of a functor
/// must let no exception escape: its worker would end. The pool holds a runnable until it has
/// run, or until the pool is destroyed.
///
/// The pool's own workers may call everything, the destructor too. stop() and the destructor
/// wait for the other workers then; start(), stop() and enlarge() return at once, having done
/// nothing, where another thread stops the pool just then, or waits in enlarge() for the
/// worker that calls. The destructor must not meet any other use of the pool.
///
/// @par Thread safety
/// Any thread may call any operation but construction and destruction. The pool lock is not
/// held while anybody waits for workers: enqueue(), size() and numberTasksPending() answer
/// meanwhile.
/// @par Cost
/// That of a QVRSysPCQueue to enqueue a runnable and to take it: producers and workers do not
/// wait for each other. A worker is woken only where one sleeps.
class QVRSYSTEM_API QVRSysThreadPool : public QVRSysMonitor {
 public:
  /// Starts no thread yet.
  /// @param size the number of workers; a negative one is 0.
  /// @throws std::bad_alloc; QVREInternalError as QVRSysMutexLock does.
  explicit QVRSysThreadPool(int size);

  /// Stops the pool, then lets go of the runnables that were never run.
  ~QVRSysThreadPool();

  QVRSysThreadPool(const QVRSysThreadPool&) = delete;
  QVRSysThreadPool& operator=(const QVRSysThreadPool&) = delete;

  /// Starts the workers, those whose thread could not be created before included; leaves
  /// alone those that run. Waits until a stop under way has ended.
  /// @throws QVREResourceLimit where no thread can be created; std::bad_alloc; QVREInternalError
  ///   as QVRSysMutexLock does. The pool is running then, with the workers before that one.
  void start();

  /// Has the workers end after the runnable in hand and waits for them. What is queued stays
  /// for the next start(); enqueue() gives `false` from now on.
  void stop();

  /// Queues a runnable, never waiting for room.
  /// @return whether it did: not where the pool is stopped or the runnable is empty.
  /// @throws std::bad_alloc
  bool enqueue(QVRCountedPointer<QVRSysIRunnableBody> runnable);

  /// Makes and starts so many more workers, also where the pool was never started. Waits until
  /// a stop under way has ended.
  ///
  /// Reports "newSize > size_" (line 104) unless there are more. Where there are fewer, the
  /// surplus ones end after the runnable in hand, and enlarge() waits for them.
  /// @throws as start(). The size is newSize even then, the workers that could be made run, and
  ///   the next start() makes what is missing.
  void enlarge(std::size_t newSize);

  /// The number of workers asked for, running or not.
  std::size_t size() const;

  /// The number of runnables that no worker has taken yet.
  std::size_t numberTasksPending() const;

 private:
  /// @return whether it waited for them: not where it must not.
  bool stopWorkers();

  std::size_t size_ QVR_GUARDED_BY(monitor());
  // Outlive the pool where one of its own workers destroys it.
  const QVRCountedPointer<qvr::internal::PoolTasks> tasks_;
  const QVRCountedPointer<qvr::internal::PoolCrew> crew_;
};
