// Threads that work off a tree of directories.
#pragma once

#include <exception>
#include <functional>
#include <optional>
#include <vector>

#include "Directory.h"
#include "Interruption.h"
#include "QVRCountedPointer.h"
#include "QVRSysCondition.h"
#include "QVRSysIRunnableBody.h"
#include "QVRSysMonitor.h"
#include "QVRSysThreadPool.h"
#include "QVRThreadAnnotations.h"

namespace catalogue {

/// Hands the portions of directories to a thread pool, and has it done when there are no more.
///
/// Of all that is left the portion to come next is that of the directory added last. So the
/// tree is walked depth first, and however large it is, little of it is held: the directories
/// from the root down to each worker.
class Crew : public QVRSysMonitor {
 public:
  /// What is to be done with a portion, on several threads at once.
  using Work = std::function<void(const Portion&)>;

  /// @param threads at least 1. Where the system has no room for so many, fewer do.
  Crew(int threads, Work work, const Interruption& interruption);

  /// Has the directory's portions worked off. The work may add directories, too.
  void add(QVRCountedPointer<Directory> directory);

  /// Waits until nothing is left to do. From an interruption on that is what is being done.
  /// @throws what the work threw first; no portion was begun after that.
  void wait();

 private:
  void startWorkers(int threads);
  void step();
  std::optional<Portion> takePortion();
  void endStep();
  void giveUp(std::exception_ptr failure);
  void _giveUp(std::exception_ptr failure) QVR_REQUIRES(monitor());
  void _enqueueSteps() QVR_REQUIRES(monitor());

  const int maxSteps_;
  const Work work_;
  const Interruption& interruption_;
  // One for all portions: it takes the next when it runs.
  const QVRCountedPointer<QVRSysIRunnableBody> step_;
  QVRSysCondition allDone_{mutex()};
  std::vector<QVRCountedPointer<Directory>> open_ QVR_GUARDED_BY(monitor());  // with portions left
  int steps_ QVR_GUARDED_BY(monitor()) = 0;                                   // queued or running
  std::exception_ptr failure_ QVR_GUARDED_BY(monitor());
  QVRSysThreadPool pool_{1};  // last, so that its workers end before the rest
};

}  // namespace catalogue
