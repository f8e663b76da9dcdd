#include "QVRSystem/platform/QVRPlatformThread.h"
#include "support/PlatformForward.h"

QVR_REAL_FUNCTION(threadId)
QVR_REAL_FUNCTION(processId)
QVR_REAL_FUNCTION(processorCount)
QVR_REAL_FUNCTION(usableProcessorCount)
QVR_REAL_FUNCTION(sleepFor)
QVR_REAL_FUNCTION(nap)
QVR_REAL_FUNCTION(yield)
QVR_REAL_FUNCTION(waitWhile)
QVR_REAL_FUNCTION(wake)
QVR_REAL_FUNCTION(prepareBarrierOfAllThreads)
QVR_REAL_FUNCTION(barrierOfAllThreads)
QVR_REAL_FUNCTION(holdCancellation)
QVR_REAL_FUNCTION(restoreCancellation)
QVR_REAL_FUNCTION(createThreadKey)
QVR_REAL_FUNCTION(setThreadValue)
QVR_REAL_FUNCTION(closeThreadKey)
QVR_REAL_FUNCTION(createThread)
QVR_REAL_FUNCTION(joinThread)
QVR_REAL_FUNCTION(detachCallingThread)
QVR_REAL_FUNCTION(setNiceValue)
QVR_REAL_FUNCTION(atFork)

// No type tells that a function does not return.
namespace qvr::posix {
[[noreturn]] void exitThread() noexcept;
}

namespace qvr::platform {

using platform_double::forward;

// Lock words, identifiers and what static objects call go straight to the system:
// the plan itself is guarded by a lock, and the library has no failure of these to
// handle.
int threadId(std::uint32_t& id) noexcept { return posix::threadId(id); }
int waitWhile(std::uint32_t& word, std::uint32_t expected) noexcept {
  return posix::waitWhile(word, expected);
}
int wake(std::uint32_t* word, int count) noexcept { return posix::wake(word, count); }
int createThreadKey(std::uint32_t& key, void (*atEnd)(void*)) noexcept {
  return posix::createThreadKey(key, atEnd);
}
int closeThreadKey(std::uint32_t key) noexcept { return posix::closeThreadKey(key); }

int processId(std::uint32_t& id) noexcept { return forward("processId", &posix::processId, id); }
int processorCount(std::uint64_t& count) noexcept {
  return forward("processorCount", &posix::processorCount, count);
}

int usableProcessorCount(std::uint64_t& count) noexcept {
  return forward("usableProcessorCount", &posix::usableProcessorCount, count);
}
int sleepFor(std::uint64_t milliseconds) {
  return forward("sleepFor", &posix::sleepFor, milliseconds);
}
int nap(std::uint64_t nanoseconds) noexcept { return forward("nap", &posix::nap, nanoseconds); }
int yield() noexcept { return forward("yield", &posix::yield); }
int prepareBarrierOfAllThreads() noexcept {
  return forward("prepareBarrierOfAllThreads", &posix::prepareBarrierOfAllThreads);
}
int barrierOfAllThreads() noexcept {
  return forward("barrierOfAllThreads", &posix::barrierOfAllThreads);
}
int holdCancellation(int& before) noexcept {
  return forward("holdCancellation", &posix::holdCancellation, before);
}
int restoreCancellation(int before) noexcept {
  return forward("restoreCancellation", &posix::restoreCancellation, before);
}
int setThreadValue(std::uint32_t key, void* value) noexcept {
  return forward("setThreadValue", &posix::setThreadValue, key, value);
}
int createThread(PlatformThread& made, std::size_t stackSize, void* (*entry)(void*),
                 void* argument) noexcept {
  return forward("createThread", &posix::createThread, made, stackSize, entry, argument);
}
int joinThread(PlatformThread thread) noexcept {
  return forward("joinThread", &posix::joinThread, thread);
}
int detachCallingThread() noexcept {
  return forward("detachCallingThread", &posix::detachCallingThread);
}
void exitThread() noexcept { posix::exitThread(); }
int setNiceValue(std::uint32_t threadId, int value) noexcept {
  return forward("setNiceValue", &posix::setNiceValue, threadId, value);
}
int atFork(void (*prepare)(), void (*parent)(), void (*child)()) noexcept {
  return forward("atFork", &posix::atFork, prepare, parent, child);
}

}  // namespace qvr::platform
