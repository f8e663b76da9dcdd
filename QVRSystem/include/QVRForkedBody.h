// What a body consists of whose locks are free in the child of a fork.
//
// Public only because objects that contain one are of a size that callers need to know:
// nothing here is for them.
#pragma once

#include "QVRBiasedLockStorage.h"

namespace qvr::internal {

class NativeMutex;

/// Belongs to one body, as its last member. A fork takes the body's own lock and gives it
/// back in both processes; for the monitor, which others may hold for as long as they like, it
/// does not wait: the child makes it anew.
class ForkedBody {
 public:
  /// @param monitor what getNativeLock() of the mutex in the monitor answers.
  /// @param lock guards what the body holds; null where that never changes.
  explicit ForkedBody(void* monitor, BiasedLockStorage* lock = nullptr) noexcept;
  ~ForkedBody();

  ForkedBody(const ForkedBody&) = delete;
  ForkedBody& operator=(const ForkedBody&) = delete;

 private:
  friend class ForkedBodyList;

  NativeMutex* const* const monitor_;
  BiasedLockStorage* const lock_;
  // The list's.
  ForkedBody* next_ = nullptr;
  ForkedBody** place_ = nullptr;
};

}  // namespace qvr::internal
