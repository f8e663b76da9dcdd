// The shared default attribute where there is no memory for it.
#include <gtest/gtest.h>

#include <new>
#include <optional>

#include "QVRSysThreadAttribute.h"
#include "support/AllocationRefuser.h"
#include "support/ForkedChild.h"

struct QVRSysThreadAttributeTestAccess {
  /// Has the default attribute made once more; the one before is the caller's.
  static const QVRSysThreadAttribute* forget() {
    return QVRSysThreadAttribute::defaultAttribute.exchange(nullptr);
  }
};

namespace {

TEST(QVRSysThreadAttributeFailureTest, DefaultThatCannotBeMadeIsMadeByTheNextCall) {
  // In a process of its own: other tests' threads use the attribute.
  const int status = exitStatusOfFork([] {
    delete QVRSysThreadAttributeTestAccess::forget();
    const std::size_t refused = refuseEachAllocation([] { QVRSysThreadAttribute::Default(); });
    const bool isMade = QVRSysThreadAttribute::Default().getDetachState() == QVR_SYS_JOINABLE;
    return refused == 1 && isMade && !testing::Test::HasFailure() ? 0 : 1;
  });

  EXPECT_EQ(status, 0);
}

}  // namespace
