#include "QVRSysThreadId.h"

#include <ostream>
#include <string>

#include "QVRSystem/internal/QVRAtomic.h"
#include "QVRSystem/internal/QVRThreadState.h"
#include "QVRSystem/platform/QVRPlatformThread.h"

std::ostream& operator<<(std::ostream& out, const QVRSysThreadId& id) {
  // As text: the stream's base and grouping do not apply to an identifier.
  return out << std::to_string(id.hash());
}

QVRSysThreadId QVRSysGetThreadId() noexcept {
  return {static_cast<unsigned long>(qvr::internal::currentThreadId())};
}

void QVRSysThreadSleep(unsigned long milliseconds) {
  if (milliseconds == 0) {
    qvr::internal::yield();
  } else {
    qvr::platform::sleepFor(milliseconds);
  }
}

void QVRSysThreadYield() noexcept { QVRSysThreadSleep(0); }
