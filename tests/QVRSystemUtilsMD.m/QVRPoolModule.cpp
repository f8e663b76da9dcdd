#include "QVRPoolModule.h"

#include <algorithm>
#include <cstddef>

#include "QVRPoolAllocator.h"

namespace {

/// Takes memory in its constructor and gives it back in its destructor, which may come
/// after the pool's own exit handler.
class Served {
 public:
  Served() : memory_(static_cast<char*>(QVRPoolAllocator::Global().allocate(kSize))) {
    std::fill(memory_, memory_ + kSize, 'x');
  }
  ~Served() { QVRPoolAllocator::Global().deallocate(memory_, kSize); }

  Served(const Served&) = delete;
  Served& operator=(const Served&) = delete;

  bool isIntact() const { return std::count(memory_, memory_ + kSize, 'x') == kSize; }

 private:
  static constexpr std::ptrdiff_t kSize = 100;

  char* const memory_;
};

const Served served;

}  // namespace

bool staticObjectIsServed() { return served.isIntact(); }
