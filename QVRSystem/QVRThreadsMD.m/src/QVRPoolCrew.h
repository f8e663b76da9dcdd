// The threads of a thread pool.
#pragma once

#include <cstddef>
#include <vector>

#include "QVRCountedObject.h"
#include "QVRCountedPointer.h"
#include "QVRPoolTasks.h"
#include "QVRSysThreadBody.h"

namespace qvr::internal {

/// The workers of a thread pool with their threads. A place is empty where a worker could not
/// be made.
///
/// @par Thread safety
/// Used by one thread at a time, the one that changes the pool.
class PoolCrew : public QVRCountedObject {
 public:
  /// Starts none of them.
  PoolCrew(const QVRCountedPointer<PoolTasks>& tasks, std::size_t size);

  /// Makes the workers that are missing of the first `size`, and starts those whose loop does
  /// not run.
  void start(std::size_t size);

  /// Makes and starts those from `from` up to `to`.
  void grow(std::size_t from, std::size_t to);

  /// Has those from `size` on end after the runnable in hand, waits for them and lets go of
  /// them.
  void shrink(std::size_t size);

  /// Waits for all workers, which end because the tasks are stopped; but for the caller.
  void join();

 private:
  using Body = QVRCountedPointer<QVRSysThreadBody>;

  static PoolWorker& workerOf(const Body& body);

  Body make() const;
  void run(const Body& body);
  void resize(std::size_t size);
  void await(std::size_t from, bool dismissed);

  const QVRCountedPointer<PoolTasks> tasks_;
  std::vector<Body> workers_;
};

}  // namespace qvr::internal
