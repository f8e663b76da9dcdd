// The packaged libraries' readers-writer locks: one is recursive.
#include <Poco/RWLock.h>

#include <QReadWriteLock>

#include "ReadersWriterLockBenchmark.h"

namespace {

class QtLock {
 public:
  void lock() { lock_.lockForWrite(); }
  void unlock() { lock_.unlock(); }
  void lock_shared() { lock_.lockForRead(); }
  void unlock_shared() { lock_.unlock(); }

 private:
  QReadWriteLock lock_{QReadWriteLock::Recursive};
};

class PocoLock {
 public:
  void lock() { lock_.writeLock(); }
  void unlock() { lock_.unlock(); }
  void lock_shared() { lock_.readLock(); }
  void unlock_shared() { lock_.unlock(); }

 private:
  Poco::RWLock lock_;
};

[[maybe_unused]] const bool isRegistered = timeRecursiveReadersWriter<QtLock>("QReadWriteLock") &&
                                           timeReadersWriter<PocoLock>("Poco (limit)");

}  // namespace
