// The packaged allocators, by entry points of their own, so that the process's malloc
// stays the C library's; and the packaged libraries' pools with a lock.
#include <Poco/MemoryPool.h>
#include <dlfcn.h>

#include <boost/pool/pool_alloc.hpp>
#include <optional>
#include <stdexcept>

#include "JemallocPeer.h"
#include "PoolBenchmark.h"

namespace {

struct JemallocBlocks {
  static void* allocate() { return jemallocPeer.allocate(kBlockSize); }
  static void deallocate(void* block) { jemallocPeer.free(block); }
  static void trim() {}  // it does by itself, as time passes
};

/// An allocator in a shared library that would replace malloc, were it linked.
class LoadedAllocator {
 public:
  LoadedAllocator(const char* library, const char* allocate, const char* free)
      : handle_(dlopen(library, RTLD_NOW | RTLD_LOCAL)),
        allocate_(function<void*(std::size_t)>(allocate)),
        free_(function<void(void*)>(free)) {}

  template <class Function>
  Function* function(const char* name) const {
    void* const symbol = handle_ != nullptr ? dlsym(handle_, name) : nullptr;
    if (symbol == nullptr) throw std::runtime_error(std::string("cannot load ") + name);
    return reinterpret_cast<Function*>(symbol);
  }

  void* allocate() const { return allocate_(kBlockSize); }
  void free(void* block) const { free_(block); }

 private:
  void* const handle_;
  void* (*const allocate_)(std::size_t);
  void (*const free_)(void*);
};

const LoadedAllocator mimalloc("libmimalloc.so.2", "mi_malloc", "mi_free");
const LoadedAllocator tcmalloc("libtcmalloc_minimal.so.4", "tc_malloc", "tc_free");

struct MimallocBlocks {
  static void* allocate() { return mimalloc.allocate(); }
  static void deallocate(void* block) { mimalloc.free(block); }
  static void trim() { mimalloc.function<void(bool)>("mi_collect")(true); }
};

struct TcmallocBlocks {
  static void* allocate() { return tcmalloc.allocate(); }
  static void deallocate(void* block) { tcmalloc.free(block); }
  static void trim() { tcmalloc.function<void()>("MallocExtension_ReleaseFreeMemory")(); }
};

struct Tag {};
using BoostPool = boost::singleton_pool<Tag, kBlockSize>;

struct BoostPoolBlocks {
  static void* allocate() { return BoostPool::malloc(); }
  static void deallocate(void* block) { BoostPool::free(block); }
  static void trim() { BoostPool::purge_memory(); }
};

struct Block {
  unsigned char bytes[kBlockSize];
};

struct BoostFastPoolBlocks {
  using Allocator = boost::fast_pool_allocator<Block>;

  static void* allocate() { return Allocator::allocate(); }
  static void deallocate(void* block) { Allocator::deallocate(static_cast<Block*>(block)); }
  static void trim() {
    boost::singleton_pool<boost::fast_pool_allocator_tag, sizeof(Block)>::purge_memory();
  }
};

struct PocoBlocks {
  static void* allocate() { return pool()->get(); }
  static void deallocate(void* block) { pool()->release(block); }
  static void trim() { pool().emplace(kBlockSize); }

 private:
  static std::optional<Poco::MemoryPool>& pool() {
    static std::optional<Poco::MemoryPool> instance(std::in_place, kBlockSize);
    return instance;
  }
};

[[maybe_unused]] const bool isRegistered =
    timeAllBlocks<MimallocBlocks>("mimalloc") && timeAllBlocks<JemallocBlocks>("jemalloc") &&
    timeAllBlocks<TcmallocBlocks>("tcmalloc") &&
    timeAllBlocks<BoostPoolBlocks>("boost::singleton_pool") &&
    timeAllBlocks<BoostFastPoolBlocks>("boost::fast_pool_allocator") &&
    timeAllBlocks<PocoBlocks>("Poco::MemoryPool");

}  // namespace
