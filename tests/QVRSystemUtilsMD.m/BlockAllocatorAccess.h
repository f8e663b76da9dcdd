// The invariant of a block allocator, for tests.
#pragma once

#include "QVRBlockAllocator.h"

struct QVRBlockAllocatorTestAccess {
  static bool isValid(const QVRBlockAllocator& allocator) { return allocator.isValid(); }
};
