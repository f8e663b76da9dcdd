// The platform's functions that the locks call, on the scheduler's threads.
#include <cerrno>
#include <new>
#include <utility>

#include "QVRSystem/internal/QVRBiasedThread.h"
#include "QVRSystem/platform/QVRPlatformMutex.h"
#include "QVRSystem/platform/QVRPlatformThread.h"
#include "scheduler/Execution.h"
#include "scheduler/SchedulingPoint.h"

namespace qvr::scheduler {

namespace {

/// What a mutex of the platform is here.
struct Mutex {
  std::uint32_t holder;  // a thread's number; 0 where it is free
  bool abandoned;        // the holder ended with it
  Mutex* next;           // of all that there are
};

static_assert(sizeof(Mutex) <= sizeof(PlatformMutex));

constexpr std::uint32_t kFree = 0;

constinit Mutex* mutexes = nullptr;

Mutex& modelOf(PlatformMutex& mutex) {
  return *std::launder(reinterpret_cast<Mutex*>(mutex.words));
}

void beginStep(Operation operation, Mutex& mutex) {
  if (onThread()) point(operation, &mutex);
}

void endStep(std::uint32_t before, const Mutex& mutex) {
  if (onThread()) note(before, mutex.holder);
}

int release(Mutex& mutex, bool abandoned) {
  mutex.holder = kFree;
  mutex.abandoned = abandoned;
  wakeAll(&mutex);
  return 0;
}

}  // namespace

void abandonMutexesOf(std::uint32_t threadNumber) {
  for (Mutex* mutex = mutexes; mutex != nullptr; mutex = mutex->next) {
    if (mutex->holder == threadNumber) release(*mutex, true);
  }
}

bool hasMutexes() { return mutexes != nullptr; }

void forgetMutexes() { mutexes = nullptr; }

}  // namespace qvr::scheduler

namespace qvr::platform {

using scheduler::Mutex;
using scheduler::Operation;

int createMutex(PlatformMutex& mutex) noexcept {
  scheduler::mutexes = new (mutex.words) Mutex{scheduler::kFree, false, scheduler::mutexes};
  return 0;
}

int waitMutex(PlatformMutex& mutex) noexcept {
  Mutex& waited = scheduler::modelOf(mutex);
  scheduler::beginStep(Operation::TakeMutex, waited);
  const std::uint32_t before = waited.holder;
  scheduler::endStep(before, waited);
  if (waited.holder != scheduler::kFree && !scheduler::onThread()) scheduler::refuseToWait();
  while (waited.holder != scheduler::kFree) scheduler::sleepOn(&waited);
  waited.holder = scheduler::threadNumber();
  // Those that a release woke and that did not run yet find it taken.
  scheduler::sleepAgain(&waited);
  return std::exchange(waited.abandoned, false) ? EOWNERDEAD : 0;
}

int releaseMutex(PlatformMutex& mutex) noexcept {
  Mutex& released = scheduler::modelOf(mutex);
  scheduler::beginStep(Operation::GiveMutexBack, released);
  const std::uint32_t before = released.holder;
  if (before != scheduler::threadNumber()) return EPERM;
  const int result = scheduler::release(released, false);
  scheduler::endStep(before, released);
  return result;
}

int closeMutex(PlatformMutex& mutex) noexcept {
  Mutex& closed = scheduler::modelOf(mutex);
  scheduler::beginStep(Operation::CloseMutex, closed);
  if (closed.holder != scheduler::kFree) return EBUSY;
  Mutex** link = &scheduler::mutexes;
  while (*link != nullptr && *link != &closed) link = &(*link)->next;
  if (*link != nullptr) *link = closed.next;
  return 0;
}

int threadId(std::uint32_t& id) noexcept {
  id = scheduler::threadNumber();
  return 0;
}

// As if there were one: a spin lock that read thousands of times before it yields
// would hide the rest of a schedule.
int processorCount(std::uint64_t& count) noexcept {
  count = 1;
  return 0;
}
int usableProcessorCount(std::uint64_t& count) noexcept { return processorCount(count); }

int sleepFor(std::uint64_t) {
  if (scheduler::onThread()) scheduler::yieldToOthers();
  return 0;
}

int holdCancellation(int&) noexcept { return 0; }
int restoreCancellation(int) noexcept { return 0; }

// Interleavings are sequentially consistent.
int barrierOfAllThreads() noexcept { return 0; }

// The process of an exploration does not fork.
int atFork(void (*)(), void (*)(), void (*)()) noexcept { return 0; }

}  // namespace qvr::platform

namespace qvr::internal {

constinit BiasedThread noBiasedThread;

// Called in the child of a fork only.
void forgetOtherBiasedThreads() noexcept {}

}  // namespace qvr::internal
