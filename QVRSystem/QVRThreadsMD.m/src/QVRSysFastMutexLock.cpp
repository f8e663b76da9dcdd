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

QVRSysFastMutexLock::LockGuard::LockGuard(QVRSysFastMutexLock& lock) noexcept : hold_(lock, false) {
  hold_.acquire();
}

QVRSysFastMutexLock::LockGuard::~LockGuard() { hold_.release(); }

void QVRSysFastMutexLock::LockGuard::acquire() noexcept { hold_.acquire(); }

void QVRSysFastMutexLock::LockGuard::release() noexcept { hold_.release(); }

QVRSysFastMutexLock::UnlockGuard::UnlockGuard(QVRSysFastMutexLock& lock) noexcept
    : hold_(lock, true) {
  hold_.release();
}

QVRSysFastMutexLock::UnlockGuard::~UnlockGuard() { hold_.acquire(); }

void QVRSysFastMutexLock::UnlockGuard::acquire() noexcept { hold_.acquire(); }

void QVRSysFastMutexLock::UnlockGuard::release() noexcept { hold_.release(); }
