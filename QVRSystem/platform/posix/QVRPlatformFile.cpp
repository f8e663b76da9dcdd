#include "QVRSystem/platform/QVRPlatformFile.h"

#include <fcntl.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "QVRSystem/platform/posix/QVRPosixNotCancelled.h"

namespace qvr::QVR_PLATFORM {
namespace {

constexpr mode_t kNewFileMode = 0666;
constexpr mode_t kNewDirectoryMode = 0777;
constexpr mode_t kTemporaryFileMode = 0600;
// More than the kernel passes on at once.
constexpr std::size_t kAllBytes = 0x7fffffff;

int errorOf(int result) { return result == 0 ? 0 : errno; }

template <class Call>
int countBytes(std::size_t& count, Call call) {
  const ssize_t result = uninterrupted(call);
  if (result < 0) return errno;
  count = static_cast<std::size_t>(result);
  return 0;
}

int flagsOf(FileOpening opening) {
  switch (opening) {
    case FileOpening::kReading:
      return O_RDONLY;
    case FileOpening::kOverwriting:
      return O_WRONLY | O_CREAT | O_TRUNC;
    case FileOpening::kCreating:
      return O_WRONLY | O_CREAT | O_EXCL;
  }
  return -1;
}

int writeAll(int file, const char* bytes, std::size_t count) {
  while (count != 0) {
    std::size_t written = 0;
    const int error = countBytes(written, [&] { return write(file, bytes, count); });
    if (error != 0) return error;
    bytes += written;
    count -= written;
  }
  return 0;
}

timespec newTime(const std::time_t* seconds) {
  return seconds == nullptr ? timespec{0, UTIME_OMIT} : timespec{*seconds, 0};
}

/// A descriptor of a nameless file, or -1.
int openNameless() {
  const int file = open(P_tmpdir, O_RDWR | O_EXCL | O_TMPFILE | O_CLOEXEC, kTemporaryFileMode);
  if (file >= 0) return file;
  // Not every file system knows files without a name.
  char path[] = P_tmpdir "/qvrXXXXXX";
  const int named = mkostemp(path, O_CLOEXEC);
  if (named >= 0) unlink(path);
  return named;
}

}  // namespace

int checkAccess(const char* path, int mode) noexcept { return errorOf(access(path, mode)); }

int readStatus(const char* path, struct stat& status) noexcept {
  return errorOf(stat(path, &status));
}

int setTimes(const char* path, const std::time_t* access, const std::time_t* modify) noexcept {
  const timespec times[] = {newTime(access), newTime(modify)};
  return errorOf(utimensat(AT_FDCWD, path, times, 0));
}

int removeFile(const char* path) noexcept { return errorOf(unlink(path)); }

int removeDirectory(const char* path) noexcept { return errorOf(rmdir(path)); }

int makeDirectory(const char* path) noexcept { return errorOf(mkdir(path, kNewDirectoryMode)); }

int changeDirectory(const char* path) noexcept { return errorOf(chdir(path)); }

int currentDirectory(char* path, std::size_t size) noexcept {
  return getcwd(path, size) != nullptr ? 0 : errno;
}

int openTemporary(std::FILE*& stream) noexcept {
  const NotCancelled scope;
  const int file = openNameless();
  if (file < 0) return errno;
  stream = fdopen(file, "w+b");
  if (stream != nullptr) return 0;
  const int error = errno;
  close(file);
  return error;
}

int openFile(const char* path, FileOpening opening, int& file) noexcept {
  file = uninterrupted([&] { return open(path, flagsOf(opening) | O_CLOEXEC, kNewFileMode); });
  return file >= 0 ? 0 : errno;
}

int closeFile(int file) noexcept {
  const NotCancelled scope;
  // Interrupted or not, the descriptor is closed.
  const int error = errorOf(close(file));
  return error == EINTR ? 0 : error;
}

int copyRange(int from, int to, std::size_t& copied) noexcept {
  return countBytes(copied,
                    [&] { return copy_file_range(from, nullptr, to, nullptr, kAllBytes, 0); });
}

int sendRange(int from, int to, std::size_t& copied) noexcept {
  return countBytes(copied, [&] { return sendfile(to, from, nullptr, kAllBytes); });
}

int passBytes(int from, int to, std::size_t& copied) noexcept {
  constexpr std::size_t kBufferSize = 16 * 1024;  // on the stack of any thread
  char buffer[kBufferSize];
  const int error = countBytes(copied, [&] { return read(from, buffer, kBufferSize); });
  return error != 0 ? error : writeAll(to, buffer, copied);
}

}  // namespace qvr::QVR_PLATFORM
