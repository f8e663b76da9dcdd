// What a lock that is biased towards one thread consists of.
//
// Public only because objects that contain one are of a size that callers need to know:
// nothing here is for them.
#pragma once

#include <cstdint>

#include "QVRRecursiveLock.h"
#include "QVRThreadAnnotations.h"

namespace qvr::internal {

struct BiasedThread;

/// Belongs to `qvr::internal::BiasedLock` inside the library, which alone reads and
/// writes it.
struct QVR_CAPABILITY("mutex") BiasedLockStorage {
  BiasedThread* owner = nullptr;    // towards which it is biased
  BiasedThread* leaving = nullptr;  // whose bias was revoked while it was inside
  std::uint32_t turn = 0;           // which one that is of the leaving thread
  std::uint32_t isWanted = 0;       // somebody waits for the owner to give its bias up
  std::uint32_t firstTurn = 0;      // of the owner by its bias, or one before that
  std::uint32_t lastUser = 0;       // identifier of the thread that had the shared lock last
  std::uint32_t run = 0;            // how often that one has had it since another had it
  std::uint32_t neededRun = 0;      // how often a thread has had it to become the owner
  RecursiveLockStorage shared{};    // for everyone else
};

}  // namespace qvr::internal
