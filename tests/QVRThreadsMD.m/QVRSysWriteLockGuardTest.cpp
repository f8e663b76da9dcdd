// Holding a lock for writing for a scope.
#include "QVRSysWriteLockGuard.h"

#include "HoldingGuardTests.h"

namespace {

struct WriteLockGuardCase {
  using Guard = QVRSysWriteLockGuard;
  static constexpr char kTake[] = "acquireWrite";
};

INSTANTIATE_TYPED_TEST_SUITE_P(QVRSysWriteLockGuard, HoldingGuardTest, WriteLockGuardCase);

}  // namespace
