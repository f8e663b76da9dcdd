// What the library keeps per thread.
#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

#include "QVRSystem/internal/QVRBiasedThread.h"
#include "QVRThreadIdAccess.h"

namespace qvr::internal {

class Thread;

/// A wait that leaves traces elsewhere, of which there is one at a time. Where its thread is
/// ended between begin() and end() it ends as if it had never begun: the thread then calls
/// leave(), not from inside a short section.
class EndableWait {
 public:
  virtual void leave() noexcept = 0;

  EndableWait(const EndableWait&) = delete;
  EndableWait& operator=(const EndableWait&) = delete;

 protected:
  EndableWait() = default;
  ~EndableWait() = default;

  void begin() noexcept;
  void end() noexcept;
};

struct ThreadState {
  std::atomic<std::uint32_t> shortSections = 0;  // how many the thread is inside
  std::uint64_t serial = 0;               // its number in the process; 0 until first asked for
  std::uint32_t* deferredWake = nullptr;  // as QVRDeferredWake.h says
  bool isEndWatched = false;              // whether its end makes up for that
  int endRounds = 0;                      // times that its end was noticed
  Thread* thread = nullptr;               // null where the library did not make it
  EndableWait* wait = nullptr;            // that it is in
  std::uint32_t* sleepWord = nullptr;     // of the lock for which it waits
  bool hasAskedForBias = false;           // for what follows
  BiasedThread* biasedThread = &noBiasedThread;
  bool isWaitOpen = false;                   // as OpenWait says
  std::atomic<std::uint32_t> openSpans = 0;  // as OpenSpan says
  std::atomic<bool> isStopDeferred = false;  // to the end of the outermost of them
};

// Initial-exec: one read to reach, and safe to read in a signal handler.
extern constinit thread_local ThreadState threadState __attribute__((tls_model("initial-exec")));

/// Asks the kernel and keeps the answer.
std::uint32_t refreshThreadId() noexcept;

/// The kernel's identifier of the calling thread; never 0, right again in the
/// child of a fork.
inline std::uint32_t currentThreadId() noexcept {
  const std::uint32_t id = knownThreadId();
  return id != kUnknownThreadId ? id : refreshThreadId();
}

/// Numbers the calling thread and keeps the number.
std::uint64_t makeThreadSerial() noexcept;

/// That number, or 0 where it has not been asked for yet.
inline std::uint64_t knownThreadSerial() noexcept { return threadState.serial; }

/// The number of the calling thread, which no other thread of the process has had
/// or will have, unlike the kernel's identifier; never 0, the same in the child of
/// a fork.
inline std::uint64_t currentThreadSerial() noexcept {
  const std::uint64_t serial = threadState.serial;
  return serial != 0 ? serial : makeThreadSerial();
}

/// What others see of the calling thread, noBiasedThread where it has none.
inline BiasedThread* knownBiasedThread() noexcept { return threadState.biasedThread; }

/// Has the calling thread ask for one, once. With no lock held: the C library may ask the
/// heap.
inline void prepareBiasedThread() noexcept {
  if (!threadState.hasAskedForBias) takeBiasedThread();
}

/// The word of the calling thread's deferred wake-up; null where there is none.
inline std::uint32_t*& deferredWake() noexcept { return threadState.deferredWake; }

/// Has the end of the calling thread noticed, for the first time or again.
bool startWatchingThreadEnd() noexcept;

/// Sees to it that the calling thread's deferred wake-up is given when it ends, and its
/// BiasedThread given back.
/// @return whether they will be.
inline bool watchThreadEnd() noexcept {
  return threadState.isEndWatched || startWatchingThreadEnd();
}

/// Begins a ShortSection for code that leaves nothing to a destructor.
/// @return what its end is given.
inline std::uint32_t beginShortSection() noexcept {
  const std::uint32_t outer = threadState.shortSections.load(std::memory_order_relaxed);
  threadState.shortSections.store(outer + 1, std::memory_order_relaxed);
  std::atomic_signal_fence(std::memory_order_seq_cst);
  return outer;
}

// Written rather than counted down, for which what was just written would be read again.
inline void endShortSection(std::uint32_t outer) noexcept {
  std::atomic_signal_fence(std::memory_order_seq_cst);
  threadState.shortSections.store(outer, std::memory_order_relaxed);
}

inline bool isInShortSection() noexcept {
  return threadState.shortSections.load(std::memory_order_relaxed) != 0;
}

inline void EndableWait::begin() noexcept {
  threadState.wait = this;
  std::atomic_signal_fence(std::memory_order_seq_cst);
}

inline void EndableWait::end() noexcept {
  std::atomic_signal_fence(std::memory_order_seq_cst);
  threadState.wait = nullptr;
}

/// Notes for its scope on which word of a lock the thread may be woken: one that is
/// stopped behind its wake-up passes it on.
class LockWait {
 public:
  explicit LockWait(std::uint32_t& word) noexcept
      : outer_(std::exchange(threadState.sleepWord, &word)) {
    std::atomic_signal_fence(std::memory_order_seq_cst);
  }
  ~LockWait() {
    std::atomic_signal_fence(std::memory_order_seq_cst);
    threadState.sleepWord = outer_;
  }

  LockWait(const LockWait&) = delete;
  LockWait& operator=(const LockWait&) = delete;

 private:
  std::uint32_t* const outer_;  // in the handler of a signal
};

/// In a short section, for the scope in which it takes its first lock: the thread can be
/// stopped while it sleeps there, for it holds nothing. For locks that others may hold for
/// long; in any other the holder is let out.
class OpenWait {
 public:
  OpenWait() noexcept { threadState.isWaitOpen = true; }
  ~OpenWait() { threadState.isWaitOpen = false; }

  OpenWait(const OpenWait&) = delete;
  OpenWait& operator=(const OpenWait&) = delete;
};

/// Marks a short critical section of the library for its scope: whoever would
/// suspend or end the thread lets it out first. No caller's code runs inside.
///
/// Only the thread itself writes its marks; its signal handlers read them, for which
/// the fences keep the compiler from moving the section out from between its marks.
class ShortSection {
 public:
  ShortSection() noexcept : outer_(beginShortSection()) {}
  ~ShortSection() { endShortSection(outer_); }

  ShortSection(const ShortSection&) = delete;
  ShortSection& operator=(const ShortSection&) = delete;

 private:
  friend class ShortSectionPause;

  static std::uint32_t marks() noexcept {
    return threadState.shortSections.load(std::memory_order_relaxed);
  }
  static void setMarks(std::uint32_t marks) noexcept {
    threadState.shortSections.store(marks, std::memory_order_relaxed);
  }

  const std::uint32_t outer_;
};

/// Takes all marks off for its scope, in which a caller's code runs or the thread
/// sleeps.
class ShortSectionPause {
 public:
  ShortSectionPause() noexcept : marks_(ShortSection::marks()) {
    std::atomic_signal_fence(std::memory_order_seq_cst);
    ShortSection::setMarks(0);
  }
  ~ShortSectionPause() {
    ShortSection::setMarks(marks_);
    std::atomic_signal_fence(std::memory_order_seq_cst);
  }

  ShortSectionPause(const ShortSectionPause&) = delete;
  ShortSectionPause& operator=(const ShortSectionPause&) = delete;

 private:
  const std::uint32_t marks_;
};

/// The sleep of a thread that waits for a lock; no short section in an open wait.
class LockSleep {
 public:
  LockSleep() noexcept : marks_(threadState.shortSections.load(std::memory_order_relaxed)) {
    if (threadState.isWaitOpen) setMarks(0);
  }
  ~LockSleep() { setMarks(marks_); }

  LockSleep(const LockSleep&) = delete;
  LockSleep& operator=(const LockSleep&) = delete;

 private:
  static void setMarks(std::uint32_t marks) noexcept {
    std::atomic_signal_fence(std::memory_order_seq_cst);
    threadState.shortSections.store(marks, std::memory_order_relaxed);
    std::atomic_signal_fence(std::memory_order_seq_cst);
  }

  const std::uint32_t marks_;
};

/// A span in which the thread holds a lock of the library and runs its caller's code between
/// short sections. Whoever would stop the thread lets it come to the end of the span, where
/// it stops by itself, unless that takes long.
class OpenSpan {
 public:
  /// In a short section.
  static void begin() noexcept { add(1); }

  /// In a short section. Behind the outermost span and section, stopIfDeferred() is called.
  static void end() noexcept { add(~0u); }

  static bool isInside() noexcept {
    return threadState.openSpans.load(std::memory_order_relaxed) != 0;
  }

  static void deferStop() noexcept {
    threadState.isStopDeferred.store(true, std::memory_order_relaxed);
  }

  /// Where the thread was asked to stop meanwhile, stops it.
  static void stopIfDeferred() noexcept {
    if (threadState.isStopDeferred.load(std::memory_order_relaxed)) stop();
  }

 private:
  static void stop() noexcept;

  static void add(std::uint32_t spans) noexcept {
    threadState.openSpans.store(threadState.openSpans.load(std::memory_order_relaxed) + spans,
                                std::memory_order_relaxed);
  }
};

}  // namespace qvr::internal
