// Holding a lock for reading for a scope.
#include "QVRSysReadLockGuard.h"

#include "HoldingGuardTests.h"

namespace {

struct ReadLockGuardCase {
  using Guard = QVRSysReadLockGuard;
  static constexpr char kTake[] = "acquireRead";
};

INSTANTIATE_TYPED_TEST_SUITE_P(QVRSysReadLockGuard, HoldingGuardTest, ReadLockGuardCase);

}  // namespace
