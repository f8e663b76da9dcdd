// Threads that can be suspended and ended wherever they are.
#pragma once

#include <cstddef>
#include <cstdint>

#include "QVRRecursiveLock.h"
#include "QVRSystem/internal/QVRAtomic.h"
#include "QVRSystem/platform/QVRPlatformStop.h"
#include "QVRSystem/platform/QVRPlatformThread.h"
#include "QVRThreadAnnotations.h"

namespace qvr::internal {

/// What a thread does, and what it holds meanwhile. A thread drops it when it has run it;
/// where it does not come to that, whoever ends the thread does.
struct ThreadWork {
  void (*run)(void* what) = nullptr;
  bool (*drop)(void* what) = nullptr;  // in a short section; whether to destroy it then
  void (*destroy)(void* what) = nullptr;
  void* what = nullptr;  // null: nothing to run or to drop
};

/// How a thread is made.
struct ThreadSettings {
  std::size_t stackSize = 0;  // bytes; the system's own size where that is not smaller
  int niceValue = 0;          // 0: the one that is inherited
  bool isSuspended = false;   // waits for resume() before its work, its suspend count being 1
  bool isJoinable = true;     // else it frees itself when it ends; its object stays
};

/// A thread, for whoever controls it, who is one at a time, and for the thread itself.
///
/// Suspending and ending are requests that the thread carries out itself, in the handler of
/// a signal: it stands still there, or ends there by a call of the kernel, without a return.
/// The handler looks where it has come. Where the thread holds a lock of the library
/// (ShortSection) or may hold one of the system's libraries, it answers that it goes on,
/// and is asked again a little later. So the requester learns when the thread stands, and
/// nobody waits for a lock of a thread that does not go on.
///
/// The C library has ways of its own to cancel a thread. The one acts only at certain
/// calls, which a loop need not make. The other acts at every instruction, also while the
/// thread holds the lock of the heap. Either runs destructors.
class Thread {
 public:
  static constexpr long kFailed = -1;

  /// A thread that is not there yet. Takes the work over.
  explicit Thread(const ThreadWork& work) noexcept : work_(work) {}

  /// Makes it. @return 0, or the system's error number; then it can only be let go.
  int start(const ThreadSettings& settings) noexcept;

  // Where start() failed the following do, and so they do where no thread was made (null).

  /// The thread's identifier, also when it has ended; waits until it is known.
  std::uint32_t id() noexcept;

  bool isCaller() const noexcept;

  /// Adds one to the suspend count, and returns when the thread, which is not the caller,
  /// stands still.
  /// @return the count before, or kFailed where it has ended.
  long suspend() noexcept;

  /// In two steps, where it is the caller: adds one to the suspend count, from which on it
  /// can be resumed; and does not return before the count is 0.
  /// @return the count before.
  long suspendCaller() noexcept;
  void stand() noexcept;

  /// Takes one off the suspend count where it is not 0; with 0 the thread goes on.
  /// @return the count before, or kFailed where it has ended.
  long resume() noexcept;

  /// Ends the thread and frees it. Does not return where it is the caller.
  /// @return whether it has ended, by this or by itself.
  bool cancel();

  /// Waits until it has ended, and frees it. @return whether it could, and has ended.
  bool join() noexcept;

  /// @return whether it is set; never where it has ended.
  bool setNiceValue(int value) noexcept;

  /// The controller lets go of this object. A thread that still runs frees itself and
  /// the object when it ends; one that is suspended, which nobody could resume, is ended.
  void letGo();

  /// Behind the thread-local objects of the calling thread, where it is one of these.
  static void leave() noexcept;

  /// Carries out what is asked of the calling thread, where it is one of these.
  static void stopCaller() noexcept;

  /// In the child of a fork: the calling thread is the only one of them.
  static void continueInChild() noexcept;

  Thread(const Thread&) = delete;
  Thread& operator=(const Thread&) = delete;

 private:
  friend class EndedThreads;

  // The word: the suspend count, and marks.
  static constexpr std::uint32_t kCount = 0x00FFFFFF;
  static constexpr std::uint32_t kStanding = 1u << 24;     // does nothing before the count is 0
  static constexpr std::uint32_t kCancelled = 1u << 25;    // is to end
  static constexpr std::uint32_t kEnded = 1u << 26;        // takes no requests any more
  static constexpr std::uint32_t kLetGo = 1u << 27;        // has nobody to free it
  static constexpr std::uint32_t kFreesItself = 1u << 28;  // has ended and is not to be joined
  static constexpr std::uint32_t kLeft = 1u << 29;         // and does not use this object any more

  ~Thread() = default;

  // The thread's own.
  static void* enter(void* thread);
  static void handleStop(const void* context) noexcept;
  bool isHeldUp(const void* context) noexcept;
  void introduce() noexcept;
  void work();
  void carryOutRequest() noexcept;
  bool askAgain() noexcept;
  [[noreturn]] void endHere() noexcept;
  bool endRequests(std::uint32_t marks) noexcept;
  void leaveToController() noexcept;
  void answer() noexcept;

  // The controller's.
  static int prepareStops() noexcept;
  bool isElsewhere() const noexcept;
  int sendRequest() noexcept;
  bool openTimer() noexcept;
  void closeTimer() noexcept;
  bool request(std::uint32_t awaited) noexcept;
  void waitForAnswer(std::uint32_t last) noexcept;
  void waitForEnd() noexcept;
  bool awaitLeaving() noexcept;
  bool free() noexcept;

  void dropWork();

  bool has(std::uint32_t marks) noexcept {
    return (word().load(std::memory_order_acquire) & marks) != 0;
  }
  AtomicWord word() noexcept { return AtomicWord(word_); }
  AtomicWord answers() noexcept { return AtomicWord(answers_); }
  AtomicWord idWord() noexcept { return AtomicWord(id_); }

  ThreadWork work_;
  ThreadSettings settings_;
  // Of the three, each is waited on.
  std::uint32_t word_ = kEnded;
  std::uint32_t answers_ = 0;  // to requests; the end is the last
  std::uint32_t id_ = 0;       // 0 until the thread has written it
  std::uint32_t process_ = 0;  // that in which it was made
  PlatformThread native_ = 0;
  bool isFreed_ = true;  // whether nothing is left to join
  // The handler's, but that the controller opens and closes the timer.
  Atomic<bool> hasTimer_ = false;
  PlatformStopTimer timer_ = nullptr;
  PlatformWhereabouts whereabouts_;
  PlatformPlace place_ = PlatformPlace::kElsewhere;
  std::uint32_t timesUnderLock_ = 0;
  std::uint32_t timesAsked_ = 0;  // without having been stopped
  std::uint32_t random_ = 0;
  RecursiveLockStorage sendLock_{};  // held while a signal is sent, which the end waits for
  Thread* nextEnded_ = nullptr;      // the list's
};

}  // namespace qvr::internal
