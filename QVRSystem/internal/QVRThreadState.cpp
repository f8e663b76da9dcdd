#include "QVRSystem/internal/QVRThreadState.h"

#include "QVRSystem/internal/QVRAtomic.h"
#include "QVRSystem/platform/QVRPlatformThread.h"

namespace qvr::internal {

constinit thread_local std::uint32_t cachedThreadId = kUnknownThreadId;
constinit thread_local ThreadState threadState;

std::uint32_t refreshThreadId() noexcept {
  std::uint32_t id = 0;
  platform::threadId(id);
  return cachedThreadId = id;
}

std::uint64_t makeThreadSerial() noexcept {
  static constinit Atomic<std::uint64_t> last = 0;
  return threadState.serial = last.fetch_add(1, std::memory_order_relaxed) + 1;
}

}  // namespace qvr::internal
