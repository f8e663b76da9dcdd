#include "QVRSysCriticalSection.h"

#include "QVRSystem/internal/QVRRecursiveLock.h"

using qvr::internal::RecursiveLock;

QVRSysCriticalSection::QVRSysCriticalSection(bool /*recursive*/) noexcept {
  QVRSysCriticalSection::initialize();
}

QVRSysCriticalSection::~QVRSysCriticalSection() { QVRSysCriticalSection::finalize(); }

void QVRSysCriticalSection::acquire() { RecursiveLock(native_).acquire(); }

void QVRSysCriticalSection::release() { RecursiveLock(native_).release(); }

void* QVRSysCriticalSection::getNativeLock() const noexcept { return &native_; }

void QVRSysCriticalSection::initialize() noexcept { RecursiveLock(native_).reset(); }

void QVRSysCriticalSection::finalize() noexcept { RecursiveLock(native_).reset(); }
