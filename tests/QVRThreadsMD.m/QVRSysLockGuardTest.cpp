// Holding a lock for a scope.
#include "QVRSysLockGuard.h"

#include "HoldingGuardTests.h"

namespace {

struct LockGuardCase {
  using Guard = QVRSysLockGuard;
  static constexpr char kTake[] = "acquire";
};

INSTANTIATE_TYPED_TEST_SUITE_P(QVRSysLockGuard, HoldingGuardTest, LockGuardCase);

}  // namespace
