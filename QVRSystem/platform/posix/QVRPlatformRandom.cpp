#include "QVRSystem/platform/QVRPlatformRandom.h"

#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

namespace qvr::QVR_PLATFORM {

int randomBytes(void* bytes, std::size_t size) noexcept {
  char* next = static_cast<char*>(bytes);
  char* const end = next + size;
  while (next != end) {
    // The C library's function is a point of cancellation.
    const long filled = syscall(SYS_getrandom, next, end - next, 0);
    if (filled >= 0) {
      next += filled;
    } else if (errno != EINTR) {
      return errno;
    }
  }
  return 0;
}

int mapWipedOnFork(std::size_t size, void*& memory) noexcept {
  void* const mapped =
      mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapped == MAP_FAILED) return errno;
  if (madvise(mapped, size, MADV_WIPEONFORK) != 0) {
    const int error = errno;
    munmap(mapped, size);
    return error;
  }
  memory = mapped;
  return 0;
}

int unmapWipedOnFork(void* memory, std::size_t size) noexcept {
  return munmap(memory, size) == 0 ? 0 : errno;
}

}  // namespace qvr::QVR_PLATFORM
