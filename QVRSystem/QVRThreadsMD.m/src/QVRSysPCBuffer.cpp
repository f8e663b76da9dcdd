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
  capacity_ = capacity;
}

void QVRSysPCBuffer::giveWayWhile(const qvr::internal::Atomic<std::size_t>& count,
                                  std::size_t was) noexcept {
  using qvr::internal::kYieldsBeforeSleep;
  for (int i = 0; i < kYieldsBeforeSleep && count.load(std::memory_order_relaxed) == was; ++i) {
    qvr::internal::yield();
  }
}
