#include "QVRBufferEnd.h"

#include "QVRSysCondition.h"
#include "QVRSysMutexLock.h"
#include "QVRSystem/internal/QVRNativeMutex.h"
#include "QVRSystem/internal/QVRThreadState.h"
#include "QVRSystem/internal/QVRWaitList.h"

namespace qvr::internal {

BufferEndHold::BufferEndHold(BufferEnd& end) noexcept
    : end_(end), outerSection_(beginShortSection()) {
  end_.acquire();
}

BufferEndHold::~BufferEndHold() {
  end_.release();
  if (signalled_ != nullptr) QVRSysCondition::wake(*signalled_, isBehindMonitor_);
  endShortSection(outerSection_);
}

bool BufferEndHold::isHeldByAnother(const QVRSysMutexLock& monitor) noexcept {
  return NativeMutex::isHeldByAnother(monitor.native_);
}

void BufferEndHold::signal(QVRSysCondition& condition) noexcept {
  signalled_ = condition.takeFirst();
  if (signalled_ != nullptr) isBehindMonitor_ = condition.isLockHeldByCaller();
}

// The analysis takes them to hold the end.
BufferEndUnderMonitor::BufferEndUnderMonitor(BufferEnd& /*end*/) noexcept
    QVR_NO_THREAD_SAFETY_ANALYSIS {}
BufferEndUnderMonitor::~BufferEndUnderMonitor() QVR_NO_THREAD_SAFETY_ANALYSIS {
  if (signalled_ != nullptr) signalled_->signal();
}

}  // namespace qvr::internal
