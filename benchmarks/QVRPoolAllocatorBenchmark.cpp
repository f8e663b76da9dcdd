// Small blocks of the process-wide pool beside those of the C library.
#include "QVRPoolAllocator.h"

#include <malloc.h>

#include <memory_resource>
#include <thread>

#include "PoolBenchmark.h"

namespace {

struct PoolBlocks {
  static void* allocate() { return QVRPoolAllocator::Global().allocate(kBlockSize); }
  static void deallocate(void* block) { QVRPoolAllocator::Global().deallocate(block, kBlockSize); }
  static void trim() { QVRPoolAllocator::Global().compact(); }
};

/// A pool that two threads have used by the time that it is timed.
struct SharedPoolBlocks {
  static void* allocate() { return pool().allocate(kBlockSize); }
  static void deallocate(void* block) { pool().deallocate(block, kBlockSize); }
  static void trim() { pool().compact(); }

 private:
  static QVRPoolAllocator& pool() {
    static QVRPoolAllocator instance;
    return instance;
  }
};

bool useByTwoThreads() {
  const auto use = [] { SharedPoolBlocks::deallocate(SharedPoolBlocks::allocate()); };
  use();
  std::thread(use).join();
  return true;
}

struct GlibcBlocks {
  static void* allocate() { return std::malloc(kBlockSize); }
  static void deallocate(void* block) { std::free(block); }
  static void trim() { malloc_trim(0); }
};

struct PmrBlocks {
  static void* allocate() { return pool().allocate(kBlockSize); }
  static void deallocate(void* block) { pool().deallocate(block, kBlockSize); }
  static void trim() { pool().release(); }

 private:
  static std::pmr::synchronized_pool_resource& pool() {
    static std::pmr::synchronized_pool_resource resource;
    return resource;
  }
};

[[maybe_unused]] const bool isRegistered =
    useByTwoThreads() && timeBlocks<PoolBlocks>("QVRPoolAllocator") &&
    timeSharedBlocks<SharedPoolBlocks>("QVRPoolAllocator") &&
    timeBlocks<SharedPoolBlocks>("QVRPoolAllocator, shared before") &&
    timeAllBlocks<GlibcBlocks>("glibc") && timeAllBlocks<PmrBlocks>("std::pmr::synchronized_pool");

}  // namespace
