// The packaged libraries' recursive locks, and the plain one that comes near to a
// bare exchange each way.
#include <Poco/Mutex.h>

#include <QMutex>
#include <boost/thread/recursive_mutex.hpp>

#include "LockBenchmark.h"

namespace {

struct PocoMutex : Poco::Mutex {
  bool try_lock() { return tryLock(); }
};

[[maybe_unused]] const bool isRegistered =
    timeRecursive<QRecursiveMutex>("QRecursiveMutex") &&
    timeTry<QRecursiveMutex>("QRecursiveMutex") && timeRecursive<boost::recursive_mutex>("Boost") &&
    timeTry<boost::recursive_mutex>("Boost") && timeRecursive<PocoMutex>("Poco") &&
    timeTry<PocoMutex>("Poco") && timePlain<QMutex>("QMutex (limit)") &&
    timeTry<QMutex>("QMutex (limit)");

}  // namespace
