// A lock for sections of a few instructions.
#pragma once

#include <cstdint>

#include "QVRAtomicLock.h"
#include "QVRSysIMutexLock.h"
#include "QVRSystemExport.h"
#include "QVRThreadAnnotations.h"

/// A lock that is waited for by reading: a bounded number of reads, then the rest
/// of the time slice is given up, and so on. Never sleeps in the kernel, allocates
/// or throws.
///
/// Not recursive: a thread that takes it twice waits for ever. It has no owner:
/// any thread may release it, and releasing a free one does nothing. Whoever comes
/// first after a release has it, however long others have waited.
///
/// @par Thread safety
/// Any thread may call any operation.
/// @par Cost
/// Without contention one atomic exchange to take it and one store to give it back.
class QVRSYSTEM_API QVRSpinLock : public QVRSysIMutexLock {
 public:
  QVRSpinLock() noexcept;
  ~QVRSpinLock() = default;

  QVRSpinLock(const QVRSpinLock&) = delete;
  QVRSpinLock& operator=(const QVRSpinLock&) = delete;

  // The analysis does not see that this lock and the one inside are one.
  void acquire() override QVR_ACQUIRE() QVR_NO_THREAD_SAFETY_ANALYSIS {
    if (!lock_.acquire()) acquireSlowly();
  }
  void release() override QVR_RELEASE() QVR_NO_THREAD_SAFETY_ANALYSIS { lock_.release(); }

  /// As acquire(): readers exclude each other too.
  void acquireRead() QVR_ACQUIRE() { acquire(); }
  /// As acquire().
  void acquireWrite() QVR_ACQUIRE() { acquire(); }

 protected:
  /// How many processors are on line; 1 where the system does not tell.
  static std::uint64_t GetNumProcessors() noexcept;

  /// How often to read before yielding: 4000, but once on a machine with one
  /// processor, where the holder cannot run meanwhile.
  static std::uint64_t GetSpinLimit() noexcept;

  /// What GetSpinLimit() gave while the library was loaded; 0 before.
  static std::uint64_t SpinLimit;

 private:
  void acquireSlowly() noexcept;

  QVRAtomicLock lock_;
};
