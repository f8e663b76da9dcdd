#include "QVRSystem/platform/QVRPlatformMachine.h"

#include <pwd.h>
#include <sys/resource.h>
#include <sys/sysinfo.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <new>

#include "QVRSystem/platform/QVRPlatformFile.h"
#include "QVRSystem/platform/posix/QVRPosixNotCancelled.h"

namespace qvr::QVR_PLATFORM {
namespace {

// An entry of the user database: what nearly all fit into, and where patience ends.
constexpr std::size_t kUsualEntrySize = 1024;
constexpr std::size_t kLargestEntrySize = std::size_t{1} << 20;

// What the kernel gives to a process that does not ask for more.
#if defined(__aarch64__)
constexpr std::uint64_t kAddressSpace = std::uint64_t{1} << 48;
#else
constexpr std::uint64_t kAddressSpace = (std::uint64_t{1} << 47) - 4096;
#endif

int copyText(const char* from, char* text, std::size_t size) {
  const std::size_t needed = std::strlen(from) + 1;
  if (needed > size) return ERANGE;
  std::memcpy(text, from, needed);
  return 0;
}

int readText(int file, char* text, std::size_t size) {
  std::size_t length = 0;
  while (length + 1 < size) {
    const ssize_t count =
        uninterrupted([&] { return read(file, text + length, size - length - 1); });
    if (count < 0) return errno;
    if (count == 0) break;
    length += static_cast<std::size_t>(count);
  }
  text[length] = '\0';
  return 0;
}

}  // namespace

int hostName(char* text, std::size_t size) noexcept {
  return gethostname(text, size) == 0 ? 0 : errno;
}

int loginName(char* text, std::size_t size) noexcept {
  const NotCancelled scope;
  for (std::size_t entrySize = kUsualEntrySize;; entrySize *= 2) {
    const std::unique_ptr<char[]> buffer(new (std::nothrow) char[entrySize]);
    if (buffer == nullptr) return ENOMEM;
    passwd entry;
    passwd* found = nullptr;
    const int error = getpwuid_r(geteuid(), &entry, buffer.get(), entrySize, &found);
    if ((error == ERANGE || error == EINTR) && entrySize < kLargestEntrySize) continue;
    if (error != 0) return error;
    return found != nullptr ? copyText(found->pw_name, text, size) : ENOENT;
  }
}

int systemRelease(char* text, std::size_t size) noexcept {
  utsname system;
  if (uname(&system) != 0) return errno;
  return copyText(system.release, text, size);
}

int processorDescription(char* text, std::size_t size) noexcept {
  int file;
  if (const int error = openFile("/proc/cpuinfo", FileOpening::kReading, file); error != 0) {
    return error;
  }
  const int error = readText(file, text, size);
  closeFile(file);
  return error;
}

int pageSize(std::uint64_t& bytes) noexcept {
  const long size = sysconf(_SC_PAGESIZE);
  if (size < 0) return errno;
  bytes = static_cast<std::uint64_t>(size);
  return 0;
}

int physicalMemory(std::uint64_t& bytes) noexcept {
  struct sysinfo system;
  if (sysinfo(&system) != 0) return errno;
  bytes = std::uint64_t{system.totalram} * system.mem_unit;
  return 0;
}

int addressSpace(std::uint64_t& bytes) noexcept {
  rlimit limit;
  if (getrlimit(RLIMIT_AS, &limit) != 0) return errno;
  bytes = limit.rlim_cur == RLIM_INFINITY ? kAddressSpace : limit.rlim_cur;
  return 0;
}

}  // namespace qvr::QVR_PLATFORM
