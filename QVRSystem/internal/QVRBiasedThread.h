// What threads show of themselves to those who wait for them to leave a biased lock.
#pragma once

#include <cstdint>

namespace qvr::internal {

/// A thread that is, or may be, the owner of biased locks. There is a fixed number of
/// them, in memory that stays: others look at one whose thread may have ended. Then the
/// next thread to have it is the owner of the same locks, outside all of them.
struct alignas(64) BiasedThread {
  std::uint32_t turns = 0;    // begun and ended; odd while the thread is inside by a bias
  std::uint32_t awaited = 0;  // by others, of the thread: BiasedLock::Awaited
  std::uint32_t isTaken = 0;  // by a thread
};

/// Stands for threads that have not taken another: no lock's owner.
extern constinit BiasedThread noBiasedThread;

/// Takes one for the calling thread, until its end. There is none where all are taken, or
/// where the system cannot order all threads.
void takeBiasedThread() noexcept;

/// Gives that of the calling thread back, if it has taken one.
void giveBiasedThreadBack() noexcept;

/// In the child of a fork: gives those of all other threads back.
void forgetOtherBiasedThreads() noexcept;

}  // namespace qvr::internal
