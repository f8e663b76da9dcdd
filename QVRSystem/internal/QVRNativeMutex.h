// The mutex beneath QVRSysMutexLock.
#pragma once

#include <cerrno>
#include <cstdint>

#include "QVRSystem/internal/QVRAtomic.h"
#include "QVRSystem/internal/QVRDeferredWake.h"
#include "QVRSystem/internal/QVRThreadState.h"
#include "QVRSystem/platform/QVRPlatformMutex.h"

namespace qvr::internal {

/// A recursive mutex of the system that knows when its holder ended without giving
/// it back.
///
/// Lives on the heap, since the system links a mutex that is held into a list of
/// its holder: one that is closed meanwhile stays there until that thread has let
/// go of it by ending.
///
/// @par Thread safety
/// Any thread may call any operation; close() ends them all.
class NativeMutex {
 public:
  enum class Acquired {
    kFromNobody,
    kFromEndedHolder,
    kNot,  // the system failed
  };

  /// @param made the new mutex, free; for close().
  /// @return 0, or the system's error number; then nothing was made.
  static int create(NativeMutex*& made) noexcept;

  // Of null, a mutex that is closed, the following fail.

  /// Forgets every hold and frees the mutex, at once or when its holder has ended.
  /// @return whether the system did so.
  static bool close(NativeMutex* mutex) noexcept;

  /// Waits until no other thread holds the mutex and holds it once more; where its
  /// holder ended, once.
  static Acquired acquire(NativeMutex* mutex) noexcept;

  /// Gives one hold back, and with the last one the deferred wake-up; where that
  /// fails, or the caller holds none, changes nothing.
  /// @return whether it was given back.
  static bool release(NativeMutex* mutex) noexcept;

  static bool isHeldByCaller(const NativeMutex* mutex) noexcept {
    return mutex != nullptr && mutex->isHeldByCaller();
  }

  /// Whether another thread holds the mutex, or ended while it did, or there is none. Where
  /// not, what its last holder wrote is visible.
  static bool isHeldByAnother(const NativeMutex* mutex) noexcept {
    if (mutex == nullptr) return true;
    const std::uint64_t holder = mutex->holder_.load(std::memory_order_acquire);
    return holder != kNobody && holder != currentThreadSerial();
  }

  /// In the child of a fork: free, unless the calling thread holds it, which keeps its holds.
  void continueInChild() noexcept;

  NativeMutex(const NativeMutex&) = delete;
  NativeMutex& operator=(const NativeMutex&) = delete;

 private:
  friend struct NativeMutexTestAccess;
  friend class OrphanList;

  static constexpr std::uint64_t kNobody = 0;

  NativeMutex() = default;
  ~NativeMutex() = default;

  bool isHeldByCaller() const noexcept;
  Acquired acquire() noexcept;
  bool release() noexcept;

  void setDepth(std::uint32_t depth) noexcept;

  /// Makes visible what the last holder wrote here. One that ended, or whose end
  /// nobody waits for, gave nothing back by which it would be.
  void followLastHolder() const noexcept;

  // The serial number of the thread that holds it. That of one that ended means
  // nobody to whoever waits, since it is not used again; so that needs no order.
  Atomic<std::uint64_t> holder_ = kNobody;
  Atomic<std::uint32_t> depth_ = 0;    // the holder's, which writes it last
  NativeMutex* nextOrphan_ = nullptr;  // the list's
  PlatformMutex mutex_;
};

inline NativeMutex::Acquired NativeMutex::acquire(NativeMutex* mutex) noexcept {
  return mutex == nullptr ? Acquired::kNot : mutex->acquire();
}

inline bool NativeMutex::release(NativeMutex* mutex) noexcept {
  return mutex != nullptr && mutex->release();
}

inline NativeMutex::Acquired NativeMutex::acquire() noexcept {
  if (isHeldByCaller()) {
    setDepth(depth_.load(std::memory_order_relaxed) + 1);
    return Acquired::kFromNobody;
  }
  const int error = platform::waitMutex(mutex_);
  if (error != 0 && error != EOWNERDEAD) return Acquired::kNot;
  if (error == EOWNERDEAD) followLastHolder();
  holder_.store(currentThreadSerial(), std::memory_order_relaxed);
  setDepth(1);
  return error == 0 ? Acquired::kFromNobody : Acquired::kFromEndedHolder;
}

inline bool NativeMutex::release() noexcept {
  if (!isHeldByCaller()) return false;
  if (const std::uint32_t depth = depth_.load(std::memory_order_relaxed); depth > 1) {
    setDepth(depth - 1);
    return true;
  }
  // Until it is free and a waiter is awake.
  const ShortSection section;
  holder_.store(kNobody, std::memory_order_release);  // pairs with isHeldByAnother()
  if (platform::releaseMutex(mutex_) == 0) {
    giveDeferredWake();
    return true;
  }
  holder_.store(currentThreadSerial(), std::memory_order_relaxed);
  return false;
}

inline bool NativeMutex::isHeldByCaller() const noexcept {
  return holder_.load(std::memory_order_relaxed) == currentThreadSerial();
}

inline void NativeMutex::setDepth(std::uint32_t depth) noexcept {
  // Pairs with followLastHolder(): a holder writes nothing here after this.
  depth_.store(depth, std::memory_order_release);
}

inline void NativeMutex::followLastHolder() const noexcept {
  depth_.load(std::memory_order_acquire);
}

}  // namespace qvr::internal
