// Threads.
#pragma once

#include "QVRAtomicAccess.h"
#include "QVRCountedObject.h"
#include "QVRCountedPointer.h"
#include "QVRFunctor0.h"
#include "QVRSysIRunnableBody.h"
#include "QVRSysMonitor.h"
#include "QVRSysThreadAttribute.h"
#include "QVRSysThreadId.h"
#include "QVRSystemExport.h"

namespace qvr::internal {
class Thread;
struct ThreadWork;
}  // namespace qvr::internal

/// What a thread body is at.
enum QVRSysExecutionState : int {
  QVR_SYS_IDLE = 2,        ///< no thread: never started, joined, or cancelled
  QVR_SYS_RUNNING = 4,     ///< started and not joined, also when its runnable has returned
  QVR_SYS_SUSPENDED = 16,  ///< suspended by suspend()
};

/// A thread of the system with what it runs. Held through a QVRCountedPointer; can be
/// started again when it has ended.
///
/// | from | operation | to | result |
/// |---|---|---|---|
/// | idle | start | running | a new thread, or QVREResourceLimit |
/// | running | start | running | joined first, then a new thread |
/// | suspended | start | suspended | QVREInternalError |
/// | running | suspend | suspended | `true` |
/// | suspended | suspend | suspended | `true` |
/// | idle | suspend | idle | QVRELogicError |
/// | suspended | resume | running | |
/// | idle, running | resume | unchanged | QVRELogicError |
/// | idle | join | idle | `true` |
/// | running | join | idle | whether the wait succeeded |
/// | suspended | join | suspended | QVREInternalError |
/// | any, not joinable | join | unchanged | `false` |
/// | running, suspended | cancel | idle where it succeeds | whether it did |
/// | idle | cancel | idle | `true` |
///
/// A body whose thread could not be created is running and has no thread to act on:
/// join() makes it idle and gives `false`, cancel() gives `false`, the rest reports its
/// failure and changes the state all the same. So it is with a thread that has ended by
/// itself, but that it can be joined and cancelled.
///
/// The destructor joins, and so waits for a thread that runs. Of one that is suspended it
/// throws what join() throws, and cancels it: only a QVRCountedPointer to this class lets
/// that through, any other holder ends the process. A class derived from this one
/// specialises QVRReleaseThrows where it is first declared. A thread that is not joinable
/// goes on without its body, and so does one that destroys its body itself.
///
/// @par Suspending and cancelling
/// Both act on a thread wherever it is, in a loop or asleep in the system, by signal number
/// `SIGRTMIN + 11`: code must neither block nor handle that signal, and a debugger is told
/// to pass it on. What is asleep in the system goes on sleeping after resume() where the
/// system can restart the call; calls that it cannot, such as `poll`, fail with `EINTR`.
/// Inside the C library's own locks (the heap, a stream, the dynamic loader, exception
/// handling) and this library's a thread goes on until it is out of them, unless it is
/// blocked there in the system or runs code of a caller's.
///
/// cancel() runs no destructors of the thread's, neither those of its stack nor those of
/// its thread-local objects and keys. Whoever calls it still risks:
/// - locks that the thread held stay held, but for a QVRSysMutexLock, which is abandoned;
///   so do those of a heap that is linked into the program itself, and the guard of a
///   function's static object that it was initialising;
/// - what the thread was changing stays half changed, and what it had allocated lost, with
///   the C library's cache of free blocks of the thread;
/// - the C library goes on counting the thread: once one was cancelled, a program whose main
///   thread ends by `pthread_exit` ends with its last thread, but without its exit handlers.
///
/// @par Thread safety
/// A body is controlled by one thread at a time: nothing is locked here, the monitor is for
/// derived classes and callers. Its own thread may ask it anything meanwhile, and suspend
/// and cancel itself.
/// @par Cost
/// Of start and join, about what the system's own take. To suspend or cancel a thread that is
/// inside the C library takes some hundred microseconds.
class QVRSYSTEM_API QVRSysThreadBody : public QVRSysMonitor, public QVRCountedObject {
 public:
  /// With the default attribute. Without a runnable the thread ends at once.
  /// @throws QVREInternalError as QVRSysMutexLock does; std::bad_alloc.
  explicit QVRSysThreadBody(QVRCountedPointer<QVRSysIRunnableBody> runnable);
  QVRSysThreadBody(QVRCountedPointer<QVRSysIRunnableBody> runnable,
                   const QVRSysThreadAttribute& attribute);

  ~QVRSysThreadBody() noexcept(false) override;

  QVRSysThreadBody(const QVRSysThreadBody&) = delete;
  QVRSysThreadBody& operator=(const QVRSysThreadBody&) = delete;

  /// Runs the runnable's run() on a new thread, which holds a reference to it meanwhile.
  /// @throws QVREInternalError where it is suspended (" Trying to start a suspended thread;
  ///   \t\t\tresume it first ", line 326).
  /// @throws QVREResourceLimit where no thread can be made (" Thread creation failed ",
  ///   line 360); std::bad_alloc. Then the state is running, without a thread.
  void start();

  /// Returns when the thread stands still. It does nothing until resumed, and keeps no lock
  /// from others that it merely waits for. One that suspends itself returns when resumed.
  /// Reports "ecode != -1" where there is no thread any more, and "ecode == 0" where it was
  /// suspended already.
  /// @throws QVRELogicError where it is idle (" Trying to suspend an idle thread ", line 405).
  bool suspend();

  /// Lets a suspended thread go on. Reports "ecode != -1" where there is none any more, and
  /// "ecode == 1" unless it was suspended once.
  /// @throws QVRELogicError unless it is suspended (" Trying to resume a thread \t\t\tthat was
  ///   not suspended ", line 456).
  void resume();

  /// Waits without limit until the thread has ended. `false` where it cannot be joined, and
  /// for a thread that joins itself; then nothing changes.
  /// @throws QVREInternalError where it is suspended (" cannot join / delete a suspended
  ///   thread; resume it or cancel it first ", line 547).
  bool join();

  /// Ends the thread and returns when it runs no more; one that cancels itself ends here.
  bool cancel();

  QVRSysExecutionState getState() const noexcept { return state_.load(std::memory_order_acquire); }
  bool isIdle() const noexcept { return getState() == QVR_SYS_IDLE; }
  bool isRunning() const noexcept { return getState() == QVR_SYS_RUNNING; }
  bool isSuspended() const noexcept { return getState() == QVR_SYS_SUSPENDED; }

  QVRCountedPointer<QVRSysIRunnableBody> getRunnable() const { return runnable_; }
  /// @return whether it was replaced: only where the body is idle.
  bool setRunnable(QVRCountedPointer<QVRSysIRunnableBody> runnable);

  QVRSysThreadAttribute getAttribute() const noexcept { return attribute_; }
  /// Takes over all but the detach state, for the next start.
  void setAttribute(const QVRSysThreadAttribute& attribute) noexcept { attribute_ = attribute; }

  /// Not valid before the first start and after a join.
  QVRSysThreadId getThreadId() const noexcept;

  int getPriority() const noexcept { return attribute_.getPriority(); }
  int getMaximumPriority() const noexcept { return attribute_.getMaximumPriority(); }
  int getMinimumPriority() const noexcept { return attribute_.getMinimumPriority(); }
  /// Applied at once, unless the body is idle; reports "result" where the system refuses.
  void setPriority(int priority);

 private:
  friend struct QVRSysThreadBodyTestAccess;

  using Thread = qvr::internal::Thread;

  void create();
  qvr::internal::ThreadWork makeWork() const;
  void letGo() noexcept;
  bool suspendSelf();
  bool joinRunning();
  void setState(QVRSysExecutionState state) noexcept {
    state_.store(state, std::memory_order_release);
  }

  Thread* thread_ = nullptr;  // kept until joined, started anew or destroyed
  QVRSysThreadId id_;         // of the thread before
  QVRCountedPointer<QVRSysIRunnableBody> runnable_;
  QVRSysThreadAttribute attribute_;
  // Its own thread asks too.
  qvr::internal::Atomic<QVRSysExecutionState> state_ = QVR_SYS_IDLE;
};

/// Whether both are threads with one identifier: two that never ran differ.
QVRSYSTEM_API bool operator==(QVRCountedPointer<QVRSysThreadBody> left,
                              QVRCountedPointer<QVRSysThreadBody> right);
/// By identifier.
QVRSYSTEM_API bool operator<(QVRCountedPointer<QVRSysThreadBody> left,
                             QVRCountedPointer<QVRSysThreadBody> right);

/// A thread that calls the functor once it is started.
QVRSYSTEM_API QVRCountedPointer<QVRSysThreadBody> QVRMakeThread(QVRFunctor0 functor);
