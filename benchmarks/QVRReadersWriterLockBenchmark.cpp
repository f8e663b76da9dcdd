// Readers-writer locks: alone, nested, and shared by threads that mostly read.
#include "QVRReadersWriterLock.h"

#include <shared_mutex>

#include "ReadersWriterLockBenchmark.h"

namespace {

struct OurLock : Named<QVRReadersWriterLock> {
  void lock_shared() { QVRReadersWriterLock::acquireRead(); }
  void unlock_shared() { QVRReadersWriterLock::release(); }
};

[[maybe_unused]] const bool isRegistered =
    timeRecursiveReadersWriter<OurLock>("QVRReadersWriterLock") &&
    timeReadersWriter<std::shared_mutex>("std::shared_mutex (limit)");

}  // namespace
