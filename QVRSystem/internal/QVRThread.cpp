#include "QVRSystem/internal/QVRThread.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "QVRSystem/internal/QVRDeferredWake.h"
#include "QVRSystem/internal/QVRFork.h"
#include "QVRSystem/internal/QVRThreadState.h"

namespace qvr::internal {

namespace {

// Written for id_ by whoever waits for it.
constexpr std::uint32_t kWanted = 0xFFFFFFFF;

// After how long a thread is asked again that could not be stopped where it was.
constexpr std::uint64_t kShortestPauseNs = 4'000;
constexpr std::uint64_t kMorePausesNs = 0x3FFF;
constexpr std::uint64_t kPauseWithoutTimerNs = 20'000;

// The pauses grow, since some of them has to be left for the thread's work between two
// signals. After a second or two it is not in a short section of the system's, but in one
// that goes on and on, as where a whole program is in the library that its heap is in.
constexpr std::uint32_t kTimesPerDoubling = 1024;
constexpr std::uint32_t kMostTimesAsked = 7 * kTimesPerDoubling;

// After some milliseconds a caller's code that runs with a lock of the library's or the
// loader's held is taken not to come to its end soon.
constexpr std::uint32_t kTimesUnderLock = 256;

// Whoever sleeps for a lock is not to be woken all the time, or gets it never.
constexpr std::uint64_t kPauseOfSleepersNs = 1'000'000;

constinit RecursiveLockStorage endedLock{};
const ForkLock forkEndedLock(ForkRank::EndedThreads, &endedLock);

// Counted up in each child of a fork, which has none of the threads made before but one.
constinit Atomic<std::uint32_t> process = 0;

/// Holds a lock of this source for a scope.
class ShortLock {
 public:
  explicit ShortLock(RecursiveLockStorage& storage) noexcept : lock_(storage) { lock_.acquire(); }
  ~ShortLock() { lock_.release(); }

  ShortLock(const ShortLock&) = delete;
  ShortLock& operator=(const ShortLock&) = delete;

 private:
  const ShortSection section_;
  RecursiveLock lock_;
};

}  // namespace

/// Threads that ended themselves by the kernel's means when nobody was left to free them.
class EndedThreads {
 public:
  /// For the thread itself, which ends next.
  static void add(Thread& thread) noexcept {
    const ShortLock lock(endedLock);
    thread.nextEnded_ = first_;
    AtomicLink(first_).store(&thread, std::memory_order_relaxed);
  }

  static void free() noexcept {
    while (Thread* const thread = freeFirst()) delete thread;
  }

 private:
  using AtomicLink = AtomicRef<Thread*>;

  static Thread* freeFirst() noexcept {
    if (AtomicLink(first_).load(std::memory_order_relaxed) == nullptr) return nullptr;
    const ShortSection section;
    Thread* const thread = takeFirst();
    if (thread != nullptr) thread->free();
    return thread;
  }

  static Thread* takeFirst() noexcept {
    const ShortLock lock(endedLock);
    Thread* const thread = first_;
    if (thread != nullptr) AtomicLink(first_).store(thread->nextEnded_, std::memory_order_relaxed);
    return thread;
  }

  static constinit Thread* first_;  // guarded by endedLock; null is also read without it
};

constinit Thread* EndedThreads::first_ = nullptr;

// Twice does no harm, and a lock would be held while the loader is asked.
int Thread::prepareStops() noexcept {
  static constinit Atomic<bool> isPrepared = false;
  if (isPrepared.load(std::memory_order_acquire)) return 0;
  const int error = platform::handleStops(&Thread::handleStop);
  if (error == 0) isPrepared.store(true, std::memory_order_release);
  return error;
}

int Thread::start(const ThreadSettings& settings) noexcept {
  EndedThreads::free();
  if (const int error = prepareStops(); error != 0) return error;
  settings_ = settings;
  process_ = process.load(std::memory_order_relaxed);
  word().store(settings.isSuspended ? 1 : 0, std::memory_order_relaxed);
  isFreed_ = false;
  const int error = platform::createThread(native_, settings.stackSize, &Thread::enter, this);
  if (error != 0) {
    isFreed_ = true;
    word().store(kEnded, std::memory_order_relaxed);
  }
  return error;
}

void* Thread::enter(void* thread) {
  Thread& self = *static_cast<Thread*>(thread);
  threadState.thread = &self;
  platform::allowStops();
  self.introduce();
  // What runs while its thread-local objects are destroyed can be stopped too.
  const bool isEndWatched = watchThreadEnd();
  if (self.has(kCount)) self.stand();
  self.work();
  if (!isEndWatched) leave();
  return nullptr;
}

// With its nice value: whoever knows the one finds the other set.
void Thread::introduce() noexcept {
  const std::uint32_t id = currentThreadId();
  if (settings_.niceValue != 0) platform::setNiceValue(id, settings_.niceValue);
  const ShortSection section;
  if (idWord().exchange(id, std::memory_order_release) == kWanted) wakeAll(&id_);
}

std::uint32_t Thread::id() noexcept {
  std::uint32_t seen = 0;
  idWord().compare_exchange_strong(seen, kWanted, std::memory_order_acquire);
  while ((seen = idWord().load(std::memory_order_acquire)) == kWanted && !isElsewhere()) {
    waitWhile(id_, kWanted);
  }
  return seen == kWanted ? 0 : seen;  // in the child of a fork, which has no such thread
}

void Thread::work() {
  // Also where the platform unwinds the thread.
  struct Drop {
    Thread& thread;
    ~Drop() { thread.dropWork(); }
  };
  const Drop drop{*this};
  if (work_.what != nullptr) work_.run(work_.what);
}

void Thread::dropWork() {
  if (work_.what == nullptr) return;
  void* what = nullptr;
  bool isLast = false;
  {
    // Whoever ends the thread finds it dropped, or drops it.
    const ShortSection section;
    what = std::exchange(work_.what, nullptr);
    isLast = work_.drop(what);
  }
  if (isLast) work_.destroy(what);
}

void Thread::leave() noexcept {
  Thread* const self = std::exchange(threadState.thread, nullptr);
  if (self == nullptr) return;
  const bool freesItself = !self->settings_.isJoinable;
  const bool hasController = self->endRequests(freesItself ? kEnded | kFreesItself : kEnded);
  if (hasController && !freesItself) return;
  platform::detachCallingThread();
  if (hasController) {
    self->leaveToController();
  } else {
    delete self;
  }
}

/// @return whether there is somebody to free it.
bool Thread::endRequests(std::uint32_t marks) noexcept {
  std::uint32_t before = 0;
  {
    // Nobody signals the identifier once it may belong to another thread.
    const ShortLock lock(sendLock_);
    before = word().fetch_or(marks, std::memory_order_acq_rel);
  }
  if ((before & kLetGo) != 0) return false;
  answer();
  return true;
}

// The controller waits for it, and may delete this object at once.
void Thread::leaveToController() noexcept {
  std::uint32_t* const address = &word_;
  word().fetch_or(kLeft, std::memory_order_release);
  wakeAll(address);
}

void Thread::answer() noexcept {
  answers().fetch_add(1, std::memory_order_release);
  wakeAll(&answers_);
}

// All signals are blocked meanwhile.
void Thread::handleStop(const void* context) noexcept {
  Thread* const self = threadState.thread;
  if (self == nullptr || self->has(kEnded)) return;
  if (self->has(kCount | kCancelled)) {
    const bool isHeldUp = self->isHeldUp(context);
    if (isHeldUp && self->askAgain()) return;
    if (!isHeldUp) self->carryOutRequest();
  }
  self->answer();
}

// Whether the thread has to go on from where the signal came.
bool Thread::isHeldUp(const void* context) noexcept {
  timesAsked_ = std::min(timesAsked_ + 1, kMostTimesAsked);
  if (isInShortSection()) return true;
  place_ = platform::placeOf(context, whereabouts_);
  const bool isInSystem =
      place_ == PlatformPlace::kInSystem || place_ == PlatformPlace::kAwaitsSystem;
  if (isInSystem && timesAsked_ < kMostTimesAsked) return true;
  const bool isUnderLock = OpenSpan::isInside() || place_ == PlatformPlace::kUnderLoader;
  timesUnderLock_ = isUnderLock ? timesUnderLock_ + 1 : 0;
  if (!isUnderLock || timesUnderLock_ > kTimesUnderLock) return false;
  if (OpenSpan::isInside()) OpenSpan::deferStop();
  return true;
}

void Thread::stopCaller() noexcept {
  Thread* const self = threadState.thread;
  if (self != nullptr && self->has(kCount | kCancelled)) self->carryOutRequest();
}

void Thread::carryOutRequest() noexcept {
  timesAsked_ = 0;
  timesUnderLock_ = 0;
  if (threadState.sleepWord != nullptr) wakeOne(threadState.sleepWord);
  if (has(kCancelled)) endHere();
  stand();
}

// A thread may be out of the system's code for a hundredth of its time only, and get to run
// rarely. So it sees to it itself that it is asked often while it does run, at moments that
// have nothing to do with what it is doing.
bool Thread::askAgain() noexcept {
  if (!hasTimer_.load(std::memory_order_acquire)) return false;
  if (place_ == PlatformPlace::kAwaitsSystem) {
    return platform::startStopTimer(timer_, kPauseOfSleepersNs) == 0;
  }
  // The linear congruential generator of Numerical Recipes, whose high bits serve.
  random_ = random_ * 1'664'525 + 1'013'904'223;
  const std::uint64_t pauseNs = kShortestPauseNs + (random_ >> 16 & kMorePausesNs);
  return platform::startStopTimer(timer_, pauseNs << timesAsked_ / kTimesPerDoubling) == 0;
}

void Thread::stand() noexcept {
  std::uint32_t seen = word().load(std::memory_order_acquire);
  while ((seen & kCount) != 0 || !word().compare_exchange_weak(seen, seen & ~kStanding)) {
    if ((seen & kCancelled) != 0) endHere();
    if ((seen & kCount) == 0) continue;
    if ((seen & kStanding) == 0) {
      // One that is asked once more between the two would stand without having answered.
      const ShortSection section;
      word().fetch_or(kStanding, std::memory_order_acq_rel);
      answer();
    } else {
      waitWhile(word_, seen);
    }
    seen = word().load(std::memory_order_acquire);
  }
}

void Thread::endHere() noexcept {
  if (threadState.wait != nullptr) threadState.wait->leave();
  giveDeferredWake();
  giveBiasedThreadBack();
  threadState.thread = nullptr;
  if (!endRequests(kEnded)) {
    EndedThreads::free();
    EndedThreads::add(*this);
  }
  platform::exitThread();
}

bool Thread::isCaller() const noexcept { return threadState.thread == this; }

bool Thread::isElsewhere() const noexcept {
  return process_ != process.load(std::memory_order_relaxed);
}

long Thread::suspend() noexcept {
  if (isElsewhere()) return kFailed;
  const std::uint32_t before = word().fetch_add(1, std::memory_order_acq_rel);
  const auto count = static_cast<long>(before & kCount);
  if ((before & kEnded) != 0 || (count == 0 && !request(kStanding))) {
    word().fetch_sub(1, std::memory_order_relaxed);
    wakeAll(&word_);
    return kFailed;
  }
  return count;
}

long Thread::suspendCaller() noexcept {
  return static_cast<long>(word().fetch_add(1, std::memory_order_acq_rel) & kCount);
}

long Thread::resume() noexcept {
  const std::uint32_t before = word().load(std::memory_order_acquire);
  if ((before & kEnded) != 0 || isElsewhere()) return kFailed;
  const auto count = static_cast<long>(before & kCount);
  if (count == 0) return 0;
  const ShortSection section;  // or the thread would sleep on
  word().fetch_sub(1, std::memory_order_release);
  wakeAll(&word_);
  return count;
}

bool Thread::cancel() {
  if (isCaller()) {
    dropWork();
    endHere();
  }
  if (!isElsewhere()) {
    word().fetch_or(kCancelled, std::memory_order_acq_rel);
    wakeAll(&word_);
    if (!request(kEnded)) {
      word().fetch_and(~kCancelled, std::memory_order_relaxed);
      return false;
    }
    if (!free()) return false;
    dropWork();
  }
  return true;
}

bool Thread::join() noexcept {
  if (isCaller()) return false;
  // A thread that could be ended in the system's join would keep others from it; any other
  // saves a wake-up.
  if (threadState.thread != nullptr) waitForEnd();
  return free();
}

bool Thread::setNiceValue(int value) noexcept {
  if (isElsewhere()) return false;
  const std::uint32_t thread = id();
  const ShortLock lock(sendLock_);
  return !has(kEnded) && platform::setNiceValue(thread, value) == 0;
}

void Thread::letGo() {
  if (!isFreed_ && !isCaller() && has(kCount)) cancel();
  const bool isGone = isFreed_ || isElsewhere();
  if (!isGone && (word().fetch_or(kLetGo, std::memory_order_acq_rel) & kEnded) == 0) return;
  free();
  // In the child of a fork, what the thread of the parent was doing with it stays undone.
  if (!isElsewhere()) dropWork();
  delete this;
}

// Asks until the word has one of the marks awaited.
bool Thread::request(std::uint32_t awaited) noexcept {
  int error = 0;
  for (;;) {
    // In this order: an answer that comes after the look at the word is not missed.
    const std::uint32_t last = answers().load(std::memory_order_acquire);
    if (has(awaited | kEnded) || (error != 0 && error != EAGAIN)) break;
    error = sendRequest();
    if (error == 0) waitForAnswer(last);
    if (has(awaited | kEnded)) break;
    if (error != 0 || !openTimer()) platform::nap(kPauseWithoutTimerNs);
  }
  closeTimer();
  return has(awaited);
}

bool Thread::openTimer() noexcept {
  if (hasTimer_.load(std::memory_order_relaxed)) return true;
  if (platform::createStopTimer(timer_, id()) != 0) return false;
  hasTimer_.store(true, std::memory_order_release);
  return true;
}

// Nothing is asked of the thread any more, so it does not start the timer.
void Thread::closeTimer() noexcept {
  if (hasTimer_.exchange(false, std::memory_order_acq_rel)) platform::closeStopTimer(timer_);
}

int Thread::sendRequest() noexcept {
  const std::uint32_t thread = id();
  const ShortLock lock(sendLock_);
  return has(kEnded) ? 0 : platform::requestStop(thread);
}

void Thread::waitForAnswer(std::uint32_t last) noexcept {
  while (answers().load(std::memory_order_acquire) == last) waitWhile(answers_, last);
}

void Thread::waitForEnd() noexcept {
  for (;;) {
    const std::uint32_t last = answers().load(std::memory_order_acquire);
    if (has(kEnded) || isElsewhere()) return;
    waitForAnswer(last);
  }
}

bool Thread::awaitLeaving() noexcept {
  for (;;) {
    const std::uint32_t seen = word().load(std::memory_order_acquire);
    if ((seen & kLeft) != 0) return true;
    waitWhile(word_, seen);
  }
}

bool Thread::free() noexcept {
  if (!isFreed_) {
    if (!isElsewhere()) closeTimer();
    // Its end is near. A thread that is ended while it waits here would keep others from
    // ever freeing this one.
    const ShortSection section;
    isFreed_ =
        isElsewhere() || (has(kFreesItself) ? awaitLeaving() : platform::joinThread(native_) == 0);
  }
  return isFreed_ && !isElsewhere();
}

void Thread::continueInChild() noexcept {
  process.fetch_add(1, std::memory_order_relaxed);
  Thread* const self = threadState.thread;
  if (self == nullptr) return;
  // Requests were made to the thread that goes on in the parent.
  self->process_ = process.load(std::memory_order_relaxed);
  self->id_ = currentThreadId();
  self->word_ &= ~(kCount | kStanding | kCancelled);
  self->hasTimer_.store(false, std::memory_order_relaxed);
  RecursiveLock(self->sendLock_).reset();
}

}  // namespace qvr::internal
