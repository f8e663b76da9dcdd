// The process-wide pool at the beginning and at the end of a process: each case is a
// process of its own.
#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <latch>
#include <new>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "QVRPoolAllocator.h"
#include "support/AllocationRefuser.h"

namespace {

std::size_t segmentsOfGlobal() {
  std::ostringstream out;
  QVRPoolAllocator::Global().dump(out);
  const std::string text = out.str();
  return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) - 128;
}

/// A pool made earlier would not have seen the setting.
bool isNotMadeDuringLoading() {
  setenv("QVRPoolAllocator", "off", 1);
  return !QVRPoolAllocator::Global().isEnabled();
}

bool isMadeOnceByManyThreads() {
  std::array<QVRPoolAllocator*, 16> seen{};
  std::latch start(seen.size());
  std::vector<std::thread> threads;
  for (QVRPoolAllocator*& pool : seen) {
    threads.emplace_back([&] {
      start.arrive_and_wait();
      pool = &QVRPoolAllocator::Global();
      pool->deallocate(pool->allocate(64), 64);
    });
  }
  for (std::thread& thread : threads) thread.join();
  return std::count(seen.begin(), seen.end(), seen[0]) == std::ssize(seen);
}

/// The heap waits for another thread that wants the pool too.
bool isMadeWithoutALock() {
  const QVRPoolAllocator* ofAnother = nullptr;
  bool hasWaited = false;
  const AllocationObserver observer([&](std::size_t) {
    if (std::exchange(hasWaited, true)) return;
    std::thread([&] { ofAnother = &QVRPoolAllocator::Global(); }).join();
  });
  return &QVRPoolAllocator::Global() == ofAnother;
}

/// @return whether the pool could be made without the allocation of that number.
bool isMadeWithout(std::size_t number) {
  const AllocationRefuser refuser(number);
  try {
    QVRPoolAllocator::Global();
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

bool isMadeOnceThereIsMemory() {
  // What one would have a new-handler do. While the pool is made, it finds none.
  std::set_new_handler([] { QVRPoolAllocator::Global().compact(); });
  std::size_t number = 1;
  while (number < 10000 && !isMadeWithout(number)) ++number;
  std::set_new_handler(nullptr);
  QVRPoolAllocator& pool = QVRPoolAllocator::Global();
  pool.deallocate(pool.allocate(64), 64);
  return number > 128 && number < 10000 && segmentsOfGlobal() == 1;
}

void* keptToTheEnd = nullptr;

/// Runs after the pool's own handler, which was registered later.
void checkAfterExitHandlers() {
  QVRPoolAllocator& pool = QVRPoolAllocator::Global();
  const bool isCompacted = segmentsOfGlobal() == 1;
  pool.deallocate(keptToTheEnd, 100);
  pool.deallocate(pool.allocate(3000), 3000);
  const bool isUsable = segmentsOfGlobal() == 2;
  if (!isCompacted || !isUsable) std::_Exit(1);
}

bool isCompactedAtExitAndUsableAfterwards() {
  if (std::atexit(&checkAfterExitHandlers) != 0) return false;
  QVRPoolAllocator& pool = QVRPoolAllocator::Global();
  keptToTheEnd = pool.allocate(100);
  for (const std::size_t size : {16u, 600u, 7680u}) pool.deallocate(pool.allocate(size), size);
  return segmentsOfGlobal() == 4;
}

bool servesStaticObjectsOfALoadedModule() {
  void* const module = dlopen(QVR_POOL_MODULE, RTLD_NOW | RTLD_LOCAL);
  if (module == nullptr) return false;
  const auto isServed = reinterpret_cast<bool (*)()>(dlsym(module, "staticObjectIsServed"));
  const bool served = isServed != nullptr && isServed() && segmentsOfGlobal() == 1;
  dlclose(module);
  QVRPoolAllocator::Global().compact();
  return served && segmentsOfGlobal() == 0;
}

struct Case {
  std::string_view name;
  bool (*holds)();
};
constexpr Case kCases[] = {
    {"IsNotMadeDuringLoading", &isNotMadeDuringLoading},
    {"IsMadeOnceByManyThreads", &isMadeOnceByManyThreads},
    {"IsMadeWithoutALock", &isMadeWithoutALock},
    {"IsMadeOnceThereIsMemory", &isMadeOnceThereIsMemory},
    {"IsCompactedAtExitAndUsableAfterwards", &isCompactedAtExitAndUsableAfterwards},
    {"ServesStaticObjectsOfALoadedModule", &servesStaticObjectsOfALoadedModule},
};

}  // namespace

int main(int argc, char** argv) {
  const std::string_view name = argc == 2 ? argv[1] : "";
  const auto* const found = std::find_if(std::begin(kCases), std::end(kCases),
                                         [&](const Case& c) { return c.name == name; });
  if (found == std::end(kCases)) {
    std::fputs("One case is to be named.\n", stderr);
    return 2;
  }
  return found->holds() ? 0 : 1;
}
