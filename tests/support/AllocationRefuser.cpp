#include "support/AllocationRefuser.h"

#include <cstdlib>
#include <utility>

namespace {

// Of the calling thread. Everything is 0 where no refuser lives.
struct State {
  std::size_t number;  // of the allocation to refuse
  std::size_t count;
};

constinit thread_local State state{};
constinit thread_local const std::function<void(std::size_t)>* observer = nullptr;

void observe(std::size_t size) {
  if (const auto* const action = std::exchange(observer, nullptr)) {
    (*action)(size);
    observer = action;
  }
}

void* allocate(std::size_t size) noexcept {
  observe(size);
  if (++state.count == state.number) return nullptr;
  return std::malloc(size != 0 ? size : 1);
}

void* allocate(std::size_t size, std::align_val_t alignment) noexcept {
  observe(size);
  if (++state.count == state.number) return nullptr;
  // The size that aligned_alloc takes is a multiple of the alignment.
  const auto step = static_cast<std::size_t>(alignment);
  const std::size_t steps = size != 0 ? (size - 1) / step + 1 : 1;
  return std::aligned_alloc(step, steps * step);
}

void* orThrow(void* memory) {
  if (memory != nullptr) return memory;
  // What a handler throws comes in the place of the ordinary failure.
  if (const std::new_handler handler = std::get_new_handler()) handler();
  throw std::bad_alloc();
}

}  // namespace

AllocationRefuser::AllocationRefuser(std::size_t number) noexcept { state = {number, 0}; }

AllocationRefuser::~AllocationRefuser() { state = {}; }

std::size_t AllocationRefuser::count() const noexcept { return state.count; }

bool AllocationRefuser::hasRefused() const noexcept {
  return state.number != 0 && state.count >= state.number;
}

AllocationObserver::AllocationObserver(std::function<void(std::size_t)> action)
    : action_(std::move(action)) {
  observer = &action_;
}

AllocationObserver::~AllocationObserver() { observer = nullptr; }

void* operator new(std::size_t size) { return orThrow(allocate(size)); }
void* operator new[](std::size_t size) { return orThrow(allocate(size)); }
void* operator new(std::size_t size, std::align_val_t alignment) {
  return orThrow(allocate(size, alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
  return orThrow(allocate(size, alignment));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return allocate(size, alignment);
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return allocate(size, alignment);
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete(void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
  std::free(memory);
}
