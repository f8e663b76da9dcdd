// How a thread is made.
#pragma once

#include <cstddef>
#include <cstdint>

#include "QVRAtomicAccess.h"
#include "QVRSysFastMutexLock.h"
#include "QVRSystemExport.h"

/// Whether a thread is waited for. Only a joinable one is; any other gives its resources
/// back by itself when it ends.
enum QVRSysDetachState : int {
  QVR_SYS_DETACHED = 0,
  QVR_SYS_JOINABLE = 1,
};

/// Where a thread's scheduling comes from; not supported.
enum QVRSysInheritScheduling : int {
  QVR_SYS_INHERIT_SCHEDULING = 0,
  QVR_SYS_EXPLICIT_SCHEDULING = 1,
};

/// How a thread is scheduled; not supported.
enum QVRSysSchedulingPolicy : int {
  QVR_SYS_SCHEDULE_OTHER = 0,
  QVR_SYS_SCHEDULE_FIFO = 1,
  QVR_SYS_SCHEDULE_RR = 2,
};

/// Among whom a thread is scheduled; not supported.
enum QVRSysContentionScope : int {
  QVR_SYS_SCOPE_PROCESS = 0,
  QVR_SYS_SCOPE_SYSTEM = 1,
};

/// The creation flag of a thread that does not run before its suspend count, which
/// begins at 1, is 0.
inline constexpr std::uint32_t QVR_SYS_CREATE_SUSPENDED = 4;

/// What a thread is made with. A plain value, but that assigning one leaves the detach
/// state of the target as it is.
///
/// @par Failures
/// The operations that the system does not support throw QVRENotSupported, " Current
/// platform does not support this function", and change nothing. Of the others only
/// Default() throws.
/// @par Thread safety
/// Default() may be called by any thread; an attribute is used by one thread at a time.
class QVRSYSTEM_API QVRSysThreadAttribute {
 public:
  QVRSysThreadAttribute() noexcept = default;
  /// Copies all settings.
  QVRSysThreadAttribute(const QVRSysThreadAttribute& other) noexcept = default;
  /// Takes over every setting but the detach state.
  QVRSysThreadAttribute& operator=(const QVRSysThreadAttribute& other) noexcept;

  /// Bytes; 0, the default, stands for the system's own size. A stack is never smaller
  /// than that, and at least as large as this says.
  std::size_t getInitialCommittedStackSize() const noexcept { return stackSize_; }
  /// Keeps the low 32 bits.
  void setInitialCommittedStackSize(std::size_t bytes) noexcept {
    stackSize_ = static_cast<std::uint32_t>(bytes);
  }

  /// Kept for its callers; means nothing to the system. Null by default.
  void* getSecurityAttributes() const noexcept { return securityAttributes_; }
  void setSecurityAttributes(void* attributes) noexcept { securityAttributes_ = attributes; }

  /// The creation flags, of which QVR_SYS_CREATE_SUSPENDED has a meaning; 0 by default.
  std::uint32_t getCreateSuspendedFlag() const noexcept { return creationFlags_; }
  void setCreateSuspendedFlag(std::uint32_t flags) noexcept { creationFlags_ = flags; }

  /// A thread of priority p has the nice value -p; with 0, the default, it starts with
  /// the one that it inherits. A value outside the limits is kept, but not applied.
  int getPriority() const noexcept { return priority_; }
  void setPriority(int priority) noexcept { priority_ = priority; }
  int getMaximumPriority() const noexcept { return kMaximumPriority; }
  int getMinimumPriority() const noexcept { return kMinimumPriority; }

  /// Joinable by default.
  QVRSysDetachState getDetachState() const noexcept { return detachState_; }
  void setDetachState(QVRSysDetachState state) noexcept { detachState_ = state; }

  /// The attribute of threads that are made without one; lives as long as the process.
  /// @throws std::bad_alloc where there is no memory to make it; nothing changes.
  static const QVRSysThreadAttribute& Default();

  /// @name Not supported
  /// @{
  void* getStackAddress() const;
  void setStackAddress(void* address);
  std::size_t getStackSize() const;
  void setStackSize(std::size_t bytes);
  QVRSysInheritScheduling getInheritScheduling() const;
  void setInheritScheduling(QVRSysInheritScheduling inherit);
  QVRSysSchedulingPolicy getSchedulingPolicy() const;
  void setSchedulingPolicy(QVRSysSchedulingPolicy policy);
  QVRSysContentionScope getContentionScope() const;
  void setContentionScope(QVRSysContentionScope scope);
  /// @}

 private:
  friend struct QVRSysThreadAttributeTestAccess;

  static constexpr int kMaximumPriority = 15;
  static constexpr int kMinimumPriority = -15;

  struct Fork;

  static const QVRSysThreadAttribute& makeDefault();

  std::uint32_t stackSize_ = 0;
  void* securityAttributes_ = nullptr;
  std::uint32_t creationFlags_ = 0;
  std::int32_t priority_ = 0;
  QVRSysDetachState detachState_ = QVR_SYS_JOINABLE;

  // Written under mutex_, once; read without it.
  static constinit qvr::internal::Atomic<const QVRSysThreadAttribute*> defaultAttribute;
  static QVRSysFastMutexLock mutex_;
};
