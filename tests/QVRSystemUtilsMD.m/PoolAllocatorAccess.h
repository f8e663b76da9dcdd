// The routing of a pool, for tests.
#pragma once

#include <cstddef>

#include "QVRPoolAllocator.h"

struct QVRPoolAllocatorTestAccess {
  static std::size_t indexOf(std::size_t size) { return QVRPoolAllocator::GetBucketIndex(size); }
  static std::size_t sizeOf(std::size_t index) { return QVRPoolAllocator::GetBucketSize(index); }
};
