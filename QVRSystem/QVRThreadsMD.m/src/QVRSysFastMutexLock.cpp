#include "QVRSysFastMutexLock.h"

using qvr::internal::RecursiveLock;

QVRSysFastMutexLock::QVRSysFastMutexLock() noexcept { start(); }

QVRSysFastMutexLock::QVRSysFastMutexLock(QVRStaticObject) noexcept { start(); }

QVRSysFastMutexLock::~QVRSysFastMutexLock() { QVRSysFastMutexLock::finalize(); }

void QVRSysFastMutexLock::start() noexcept {
  State(state_).store(kNotInitialised, std::memory_order_relaxed);
  RecursiveLock(native_).reset();
  State(state_).store(kInitialised, std::memory_order_release);
}

void QVRSysFastMutexLock::initializeFrom(std::uint32_t seen) noexcept {
  // The zeros beside a zero state are a free lock already, and perhaps taken by
  // another thread that met them first: they stay untouched.
  if (seen != kNotInitialised) RecursiveLock(native_).reset();
  State(state_).store(kInitialised, std::memory_order_relaxed);
}

void QVRSysFastMutexLock::finalize() noexcept {
  const State state(state_);
  if (state.load(std::memory_order_relaxed) == kNotInitialised) return;
  state.store(kNotInitialised, std::memory_order_relaxed);
  RecursiveLock(native_).reset();
}

QVRSysFastMutexLock::LockGuard::LockGuard(QVRSysFastMutexLock& lock) noexcept
    : lock_(lock), acquired_(false) {
  lock_.acquire();
  acquired_ = true;
}

// The analysis does not follow a hold that depends on a flag.
QVRSysFastMutexLock::LockGuard::~LockGuard() QVR_NO_THREAD_SAFETY_ANALYSIS { release(); }

void QVRSysFastMutexLock::LockGuard::acquire() noexcept QVR_NO_THREAD_SAFETY_ANALYSIS {
  if (acquired_) return;
  lock_.acquire();
  acquired_ = true;
}

void QVRSysFastMutexLock::LockGuard::release() noexcept QVR_NO_THREAD_SAFETY_ANALYSIS {
  if (!acquired_) return;
  lock_.release();
  acquired_ = false;
}

QVRSysFastMutexLock::UnlockGuard::UnlockGuard(QVRSysFastMutexLock& lock) noexcept
    : lock_(lock), acquired_(true) {
  release();
}

QVRSysFastMutexLock::UnlockGuard::~UnlockGuard() { acquire(); }

void QVRSysFastMutexLock::UnlockGuard::acquire() noexcept QVR_NO_THREAD_SAFETY_ANALYSIS {
  if (acquired_) return;
  lock_.acquire();
  acquired_ = true;
}

void QVRSysFastMutexLock::UnlockGuard::release() noexcept QVR_NO_THREAD_SAFETY_ANALYSIS {
  if (!acquired_) return;
  lock_.release();
  acquired_ = false;
}
