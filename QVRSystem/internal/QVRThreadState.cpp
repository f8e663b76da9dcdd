#include "QVRSystem/internal/QVRThreadState.h"

#include "QVRSystem/internal/QVRAtomic.h"
#include "QVRSystem/internal/QVRDeferredWake.h"
#include "QVRSystem/internal/QVRThread.h"
#include "QVRSystem/platform/QVRPlatformThread.h"

namespace qvr::internal {

constinit thread_local std::uint32_t cachedThreadId = kUnknownThreadId;
constinit thread_local ThreadState threadState;

namespace {

/// What the system calls when a thread ends whose end is watched.
class ThreadEndKey {
 public:
  ThreadEndKey() noexcept { isThere_.store(platform::createThreadKey(key_, &threadEnds) == 0); }
  // The library may be unloaded while threads go on.
  ~ThreadEndKey() {
    if (isThere_.exchange(false)) platform::closeThreadKey(key_);
  }

  ThreadEndKey(const ThreadEndKey&) = delete;
  ThreadEndKey& operator=(const ThreadEndKey&) = delete;

  bool watch() noexcept {
    return isThere_.load() && platform::setThreadValue(key_, &threadState) == 0;
  }

 private:
  // What runs behind this in the ending thread may watch its end again.
  static void threadEnds(void* /*state*/) {
    threadState.isEndWatched = false;
    giveDeferredWake();
    giveBiasedThreadBack();
    if (threadState.thread != nullptr && isToBeCalledAgain()) return;
    Thread::leave();
  }

  // Other keys' ends, which may take as long as they like, belong to the thread as well.
  static bool isToBeCalledAgain() noexcept {
    return ++threadState.endRounds < platform::kThreadEndRounds && startWatchingThreadEnd();
  }

  std::uint32_t key_ = 0;
  Atomic<bool> isThere_ = false;
};

ThreadEndKey threadEndKey;

}  // namespace

bool startWatchingThreadEnd() noexcept { return threadState.isEndWatched = threadEndKey.watch(); }

std::uint32_t refreshThreadId() noexcept {
  std::uint32_t id = 0;
  platform::threadId(id);
  return cachedThreadId = id;
}

void OpenSpan::stop() noexcept {
  if (isInside() || isInShortSection()) return;
  threadState.isStopDeferred.store(false, std::memory_order_relaxed);
  Thread::stopCaller();
}

std::uint64_t makeThreadSerial() noexcept {
  static constinit Atomic<std::uint64_t> last = 0;
  return threadState.serial = last.fetch_add(1, std::memory_order_relaxed) + 1;
}

}  // namespace qvr::internal
