// A pool where memory is refused.
#include <gtest/gtest.h>

#include <cstddef>
#include <new>
#include <string>

#include "BlockAllocatorModel.h"
#include "PoolAllocatorAccess.h"
#include "QVRPoolAllocator.h"
#include "support/AllocationRefuser.h"

namespace {

TEST(QVRPoolAllocatorFailureTest, EachAllocationOfTheConstructionMayFail) {
  EXPECT_GE(refuseEachAllocation([] { const QVRPoolAllocator pool; }), 128u);
}

TEST(QVRPoolAllocatorFailureTest, RefusedMemoryLeavesThePoolAsItWas) {
  QVRPoolAllocator pool;
  for (const std::size_t size : {0u, 1u, 64u, 512u, 513u, 3000u, 7680u, 7681u}) {
    const std::string before = dumpOf(pool);
    void* memory = nullptr;

    const std::size_t refusals = refuseEachAllocation(
        [&] { memory = pool.allocate(size); }, [&] { EXPECT_EQ(dumpOf(pool), before) << size; });

    EXPECT_GE(refusals, size == 1 ? 0u : 1u) << size;
    pool.deallocate(memory, size);
  }
}

TEST(QVRPoolAllocatorFailureTest, GivingBackAndCompactingNeedNoMemory) {
  QVRPoolAllocator pool;
  void* const memory = pool.allocate(64);
  void* const large = pool.allocate(10000);
  const AllocationRefuser refuser(0);

  pool.deallocate(memory, 64);
  pool.deallocate(pool.allocate(64), 64);
  pool.deallocate(large, 10000);
  pool.compact();

  EXPECT_EQ(refuser.count(), 0u);
}

}  // namespace
