#include "QVRSysPCBuffer.h"

#include <atomic>

#include "QVRSysLockGuard.h"
#include "QVRSystem/internal/QVRAtomic.h"

QVRSysPCBuffer::QVRSysPCBuffer(std::size_t capacity) : capacity_(capacity) {}

QVRSysPCBuffer::~QVRSysPCBuffer() noexcept(false) = default;

std::size_t QVRSysPCBuffer::getCapacity() const {
  const QVRSysLockGuard guard(monitor());
  return capacity_;
}

void QVRSysPCBuffer::setCapacity(std::size_t capacity) {
  const QVRSysLockGuard guard(monitor());
  // As capacityNow() reads it.
  qvr::internal::AtomicRef<std::size_t>(capacity_).store(capacity, std::memory_order_relaxed);
}

bool QVRSysPCBuffer::giveWay(int time) noexcept {
  if (time >= qvr::internal::kYieldsBeforeSleep) return false;
  qvr::internal::yield();
  return true;
}
