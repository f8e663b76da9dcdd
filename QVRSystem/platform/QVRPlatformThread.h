// Threads and waiting, as the system offers them.
//
// Every function returns 0 or the system's error number and throws nothing.
#pragma once

#include <cstddef>
#include <cstdint>

#include "QVRSystem/platform/QVRPlatformNamespace.h"

namespace qvr {

/// A thread that was made here.
using PlatformThread = std::uint64_t;

}  // namespace qvr

namespace qvr::QVR_PLATFORM {

/// The kernel's identifier of the calling thread; never 0.
int threadId(std::uint32_t& id) noexcept;

/// The identifier of the calling process.
int processId(std::uint32_t& id) noexcept;

/// How many processors are on line, whichever of them the caller may use.
int processorCount(std::uint64_t& count) noexcept;

/// How many of them the calling thread may use; asks for no file.
int usableProcessorCount(std::uint64_t& count) noexcept;

/// Returns once the time is over, however many signals arrive meanwhile. Times
/// past the clock's range last as long as the clock can count. Not noexcept: the
/// unwinding of a thread that is cancelled in its sleep passes.
int sleepFor(std::uint64_t milliseconds);

/// Sleeps about so long; a signal may end it before.
int nap(std::uint64_t nanoseconds) noexcept;

/// Gives up the rest of the time slice.
int yield() noexcept;

/// Sleeps while `word` holds `expected`, until woken. May return for no reason;
/// EAGAIN says that the word held something else.
int waitWhile(std::uint32_t& word, std::uint32_t expected) noexcept;

/// Wakes up to `count` threads that sleep on `word`, which need not exist any more.
int wake(std::uint32_t* word, int count) noexcept;

/// Asks for barrierOfAllThreads(), which fails without; the child of a fork need not
/// ask again. Takes milliseconds where the process has several threads.
int prepareBarrierOfAllThreads() noexcept;

/// A full memory barrier on every thread of the process: each that runs passes one
/// during the call, and each that does not run has passed one since it did.
int barrierOfAllThreads() noexcept;

/// Lets requests to cancel the calling thread wait; `before` says what they did.
int holdCancellation(int& before) noexcept;

/// Lets them do again what they did before.
int restoreCancellation(int before) noexcept;

/// How often `atEnd` can have itself called again for an ending thread, by setting the
/// value again; the first call counts. ThreadSanitizer forgets the thread in the last round.
#if defined(__SANITIZE_THREAD__)
inline constexpr int kThreadEndRounds = 3;
#else
inline constexpr int kThreadEndRounds = 4;
#endif

/// Makes a key of which every thread can have a value of its own; where that is not
/// null when the thread ends, by itself or cancelled, `atEnd` gets it.
int createThreadKey(std::uint32_t& key, void (*atEnd)(void*)) noexcept;

/// Gives the calling thread its value of the key.
int setThreadValue(std::uint32_t key, void* value) noexcept;

/// Ends the key; `atEnd` is called for it no more.
int closeThreadKey(std::uint32_t key) noexcept;

/// Makes a thread that runs `entry(argument)` and is to be joined. It takes over the
/// caller's mask of signals.
/// @param stackSize bytes; the system's own size where that is not smaller.
int createThread(PlatformThread& made, std::size_t stackSize, void* (*entry)(void*),
                 void* argument) noexcept;

/// Waits until the thread has ended, and frees what the system kept of it. Once a thread.
int joinThread(PlatformThread thread) noexcept;

/// Has the calling thread freed when it ends, without a join.
int detachCallingThread() noexcept;

/// Ends the calling thread here and now: nothing of it is run any more, neither
/// destructors nor what the C library does at its end. It still is to be joined. Its values
/// of keys go with it.
[[noreturn]] void exitThread() noexcept;

/// The nice value of a living thread.
int setNiceValue(std::uint32_t threadId, int value) noexcept;

/// Has the three called around every fork from now on: `prepare` before it,
/// `parent` and `child` behind it in the respective process.
int atFork(void (*prepare)(), void (*parent)(), void (*child)()) noexcept;

}  // namespace qvr::QVR_PLATFORM
