// The mutex beneath QVRSysMutexLock.
#pragma once

#include <cstdint>

#include "QVRSystem/internal/QVRAtomic.h"
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

  /// Gives one hold back; where that fails, or the caller holds none, changes nothing.
  /// @return whether it was given back.
  static bool release(NativeMutex* mutex) noexcept;

  NativeMutex(const NativeMutex&) = delete;
  NativeMutex& operator=(const NativeMutex&) = delete;

 private:
  friend struct NativeMutexTestAccess;
  friend class OrphanList;

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
  // nobody, since it is not used again; so no order is needed.
  Atomic<std::uint64_t> holder_ = 0;
  Atomic<std::uint32_t> depth_ = 0;    // the holder's, which writes it last
  NativeMutex* nextOrphan_ = nullptr;  // the list's
  PlatformMutex mutex_;
};

}  // namespace qvr::internal
