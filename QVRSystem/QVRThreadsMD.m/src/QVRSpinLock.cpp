#include "QVRSpinLock.h"

#include "QVRSysThreadId.h"
#include "QVRSystem/internal/QVRAtomic.h"
#include "QVRSystem/platform/QVRPlatformThread.h"

namespace {

// So many of the reads are made at leisure. Whoever holds the lock, or takes it again
// and again, is slowed down by each look at its word.
constexpr std::uint64_t kPatientReads = 16;

}  // namespace

std::uint64_t QVRSpinLock::SpinLimit = GetSpinLimit();

// Here rather than inline, so that the library has the class's virtual table and
// record, which every module then shares.
QVRSpinLock::QVRSpinLock() noexcept = default;

// The lock may be given back by another thread, which the analysis does not follow.
void QVRSpinLock::acquireSlowly() noexcept QVR_NO_THREAD_SAFETY_ANALYSIS {
  do {
    // Reading leaves the cache line with the holder; only the exchange writes.
    std::uint64_t reads = 0;
    while (reads < SpinLimit && lock_.isLocked()) {
      if (++reads <= kPatientReads) qvr::internal::relax();
    }
    if (reads == SpinLimit) QVRSysThreadYield();
  } while (!lock_.acquire());
}

std::uint64_t QVRSpinLock::GetNumProcessors() noexcept {
  std::uint64_t count = 1;
  qvr::platform::processorCount(count);
  return count;
}

std::uint64_t QVRSpinLock::GetSpinLimit() noexcept {
  constexpr std::uint64_t kReadsBeforeYield = 4000;
  // Where there are two for this thread, there are two: the file with the number of all need not
  // be read whenever the library is loaded.
  std::uint64_t usable = 1;
  qvr::platform::usableProcessorCount(usable);
  return usable > 1 || GetNumProcessors() > 1 ? kReadsBeforeYield : 1;
}
