#include "QVRSysPCBuffer.h"

#include "QVRSysLockGuard.h"

QVRSysPCBuffer::QVRSysPCBuffer(std::size_t capacity) : capacity_(capacity) {}

QVRSysPCBuffer::~QVRSysPCBuffer() noexcept(false) = default;

std::size_t QVRSysPCBuffer::getCapacity() const {
  const QVRSysLockGuard guard(monitor());
  return capacity_;
}

void QVRSysPCBuffer::setCapacity(std::size_t capacity) {
  const QVRSysLockGuard guard(monitor());
  capacity_ = capacity;
}
