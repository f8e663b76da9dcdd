// Threads and waiting, as the system offers them.
//
// Every function returns 0 or the system's error number and throws nothing.
#pragma once

#include <cstdint>

#include "QVRSystem/platform/QVRPlatformNamespace.h"

namespace qvr::QVR_PLATFORM {

/// The kernel's identifier of the calling thread; never 0.
int threadId(std::uint32_t& id) noexcept;

/// The identifier of the calling process.
int processId(std::uint32_t& id) noexcept;

/// How many processors are on line, whichever of them the caller may use.
int processorCount(std::uint64_t& count) noexcept;

/// Returns once the time is over, however many signals arrive meanwhile. Times
/// past the clock's range last as long as the clock can count. Not noexcept: the
/// unwinding of a thread that is cancelled in its sleep passes.
int sleepFor(std::uint64_t milliseconds);

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

/// Makes a key of which every thread can have a value of its own; where that is not
/// null when the thread ends, by itself or cancelled, `atEnd` gets it.
int createThreadKey(std::uint32_t& key, void (*atEnd)(void*)) noexcept;

/// Gives the calling thread its value of the key.
int setThreadValue(std::uint32_t key, void* value) noexcept;

/// Ends the key; `atEnd` is called for it no more.
int closeThreadKey(std::uint32_t key) noexcept;

/// Has the three called around every fork from now on: `prepare` before it,
/// `parent` and `child` behind it in the respective process.
int atFork(void (*prepare)(), void (*parent)(), void (*child)()) noexcept;

}  // namespace qvr::QVR_PLATFORM
