#include "QVRSystem/platform/QVRPlatformThread.h"

#include <limits.h>
#include <linux/futex.h>
#include <linux/membarrier.h>
#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <ctime>

#include "QVRSystem/platform/posix/QVRPosixNotCancelled.h"

namespace qvr::QVR_PLATFORM {

namespace {

static_assert(sizeof(pthread_t) == sizeof(PlatformThread));

/// How a thread is made whose stack is larger than the system's own.
class LargeStack {
 public:
  explicit LargeStack(std::size_t bytes) noexcept {
    // What the C library keeps on a stack comes on top: its guard, static thread-local objects.
    constexpr std::size_t kOverhead = 64 * 1024;
    error_ = pthread_attr_init(&attributes_);
    if (error_ != 0) return;
    std::size_t usual = 0;
    error_ = pthread_attr_getstacksize(&attributes_, &usual);
    if (error_ != 0 || bytes <= usual) return;
    error_ = pthread_attr_setstacksize(&attributes_, bytes + kOverhead);
  }
  ~LargeStack() {
    if (error_ == 0) pthread_attr_destroy(&attributes_);
  }

  LargeStack(const LargeStack&) = delete;
  LargeStack& operator=(const LargeStack&) = delete;

  int error() const noexcept { return error_; }
  const pthread_attr_t* attributes() const noexcept { return &attributes_; }

 private:
  int error_;
  pthread_attr_t attributes_;
};

/// A call of the kernel that leaves errno alone: locks are taken, and memory is given back,
/// between a call of somebody's that failed and the look at its error.
template <class... Arguments>
int callBeneathLocks(long number, Arguments... arguments) noexcept {
  const int before = errno;
  const int error = syscall(number, arguments...) < 0 ? errno : 0;
  errno = before;
  return error;
}

}  // namespace

int threadId(std::uint32_t& id) noexcept {
  id = static_cast<std::uint32_t>(syscall(SYS_gettid));
  return 0;
}

int processId(std::uint32_t& id) noexcept {
  id = static_cast<std::uint32_t>(getpid());
  return 0;
}

int processorCount(std::uint64_t& count) noexcept {
  const long online = sysconf(_SC_NPROCESSORS_ONLN);
  if (online < 1) return errno;
  count = static_cast<std::uint64_t>(online);
  return 0;
}

int usableProcessorCount(std::uint64_t& count) noexcept {
  cpu_set_t usable;
  if (sched_getaffinity(0, sizeof usable, &usable) != 0) return errno;
  count = static_cast<std::uint64_t>(CPU_COUNT(&usable));
  return 0;
}

int sleepFor(std::uint64_t milliseconds) {
  constexpr long kNanosecondsPerSecond = 1'000'000'000;
  constexpr long kNanosecondsPerMillisecond = 1'000'000;
  // An absolute end: a signal neither shortens nor lengthens the sleep. The
  // seconds of 2^64 milliseconds fit a time_t together with any present.
  timespec end;
  if (clock_gettime(CLOCK_MONOTONIC, &end) != 0) return errno;
  end.tv_sec += static_cast<std::time_t>(milliseconds / 1000);
  end.tv_nsec += static_cast<long>(milliseconds % 1000) * kNanosecondsPerMillisecond;
  if (end.tv_nsec >= kNanosecondsPerSecond) {
    end.tv_nsec -= kNanosecondsPerSecond;
    ++end.tv_sec;
  }
  int result;
  do {
    result = clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr);
  } while (result == EINTR);
  return result;
}

int nap(std::uint64_t nanoseconds) noexcept {
  const timespec time{0, static_cast<long>(nanoseconds)};
  const NotCancelled scope;
  return nanosleep(&time, nullptr) == 0 ? 0 : errno;
}

int yield() noexcept { return sched_yield() == 0 ? 0 : errno; }

int waitWhile(std::uint32_t& word, std::uint32_t expected) noexcept {
  return callBeneathLocks(SYS_futex, &word, FUTEX_WAIT_PRIVATE, expected, nullptr);
}

int wake(std::uint32_t* word, int count) noexcept {
  return callBeneathLocks(SYS_futex, word, FUTEX_WAKE_PRIVATE, count);
}

int prepareBarrierOfAllThreads() noexcept {
  return callBeneathLocks(SYS_membarrier, MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED, 0);
}

int barrierOfAllThreads() noexcept {
  return callBeneathLocks(SYS_membarrier, MEMBARRIER_CMD_PRIVATE_EXPEDITED, 0);
}

int holdCancellation(int& before) noexcept {
  return pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before);
}

int restoreCancellation(int before) noexcept { return pthread_setcancelstate(before, nullptr); }

static_assert(kThreadEndRounds <= PTHREAD_DESTRUCTOR_ITERATIONS);

int createThreadKey(std::uint32_t& key, void (*atEnd)(void*)) noexcept {
  static_assert(sizeof(pthread_key_t) == sizeof(key));
  return pthread_key_create(&key, atEnd);
}

int setThreadValue(std::uint32_t key, void* value) noexcept {
  return pthread_setspecific(key, value);
}

int closeThreadKey(std::uint32_t key) noexcept { return pthread_key_delete(key); }

int createThread(PlatformThread& made, std::size_t stackSize, void* (*entry)(void*),
                 void* argument) noexcept {
  if (stackSize == 0) return pthread_create(&made, nullptr, entry, argument);
  const LargeStack stack(stackSize);
  if (stack.error() != 0) return stack.error();
  return pthread_create(&made, stack.attributes(), entry, argument);
}

int joinThread(PlatformThread thread) noexcept {
  const NotCancelled scope;
  return pthread_join(thread, nullptr);
}

int detachCallingThread() noexcept { return pthread_detach(pthread_self()); }

// The C library hands the stack on to the next thread, with what it keeps there: a value of
// a key would be the next thread's, and destroyed with that.
void exitThread() noexcept {
  for (pthread_key_t key = 0; key < PTHREAD_KEYS_MAX; ++key) {
    if (pthread_getspecific(key) != nullptr) pthread_setspecific(key, nullptr);
  }
  for (;;) syscall(SYS_exit, 0);
}

int setNiceValue(std::uint32_t threadId, int value) noexcept {
  return setpriority(PRIO_PROCESS, threadId, value) == 0 ? 0 : errno;
}

int atFork(void (*prepare)(), void (*parent)(), void (*child)()) noexcept {
  return pthread_atfork(prepare, parent, child);
}

}  // namespace qvr::QVR_PLATFORM
