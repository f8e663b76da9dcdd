// The packaged libraries' spin locks.
#include <Poco/Mutex.h>
#include <oneapi/tbb/spin_mutex.h>

#include <boost/smart_ptr/detail/spinlock.hpp>

#include "LockBenchmark.h"

namespace {

struct BoostSpinLock : boost::detail::spinlock {
  BoostSpinLock() : spinlock(BOOST_DETAIL_SPINLOCK_INIT) {}
};

template <class Lock>
bool timeSpinLock(const std::string& subject) {
  return timePair<Lock>(subject) && timeContended<Lock>(subject, 2);
}

[[maybe_unused]] const bool isRegistered = timeSpinLock<BoostSpinLock>("Boost") &&
                                           timeSpinLock<tbb::spin_mutex>("TBB") &&
                                           timeSpinLock<Poco::SpinlockMutex>("Poco");

}  // namespace
