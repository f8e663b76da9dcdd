#include "QVRSystem/internal/QVRThreadState.h"

#include "QVRSystem/platform/QVRPlatformThread.h"

namespace qvr::internal {

constinit thread_local ThreadState threadState;

std::uint32_t refreshThreadId() noexcept {
  std::uint32_t id = 0;
  platform::threadId(id);
  threadState.id = id;
  return id;
}

}  // namespace qvr::internal
