#include "QVRSysCriticalSection.h"

using qvr::internal::RecursiveLock;

QVRSysCriticalSection::QVRSysCriticalSection(bool /*recursive*/) noexcept {
  QVRSysCriticalSection::initialize();
}

QVRSysCriticalSection::~QVRSysCriticalSection() { QVRSysCriticalSection::finalize(); }

void QVRSysCriticalSection::initialize() noexcept { RecursiveLock(native_).reset(); }

void QVRSysCriticalSection::finalize() noexcept { RecursiveLock(native_).reset(); }
