#include "QVRSystem/platform/QVRPlatformThread.h"

#include <linux/futex.h>
#include <linux/membarrier.h>
#include <pthread.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

namespace qvr::QVR_PLATFORM {

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

int yield() noexcept { return sched_yield() == 0 ? 0 : errno; }

int waitWhile(std::uint32_t& word, std::uint32_t expected) noexcept {
  const long result = syscall(SYS_futex, &word, FUTEX_WAIT_PRIVATE, expected, nullptr);
  return result == 0 ? 0 : errno;
}

int wake(std::uint32_t* word, int count) noexcept {
  return syscall(SYS_futex, word, FUTEX_WAKE_PRIVATE, count) >= 0 ? 0 : errno;
}

int prepareBarrierOfAllThreads() noexcept {
  return syscall(SYS_membarrier, MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED, 0) == 0 ? 0 : errno;
}

int barrierOfAllThreads() noexcept {
  return syscall(SYS_membarrier, MEMBARRIER_CMD_PRIVATE_EXPEDITED, 0) == 0 ? 0 : errno;
}

int holdCancellation(int& before) noexcept {
  return pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before);
}

int restoreCancellation(int before) noexcept { return pthread_setcancelstate(before, nullptr); }

int createThreadKey(std::uint32_t& key, void (*atEnd)(void*)) noexcept {
  static_assert(sizeof(pthread_key_t) == sizeof(key));
  return pthread_key_create(&key, atEnd);
}

int setThreadValue(std::uint32_t key, void* value) noexcept {
  return pthread_setspecific(key, value);
}

int closeThreadKey(std::uint32_t key) noexcept { return pthread_key_delete(key); }

int atFork(void (*prepare)(), void (*parent)(), void (*child)()) noexcept {
  return pthread_atfork(prepare, parent, child);
}

}  // namespace qvr::QVR_PLATFORM
