#include "QVRSystem/platform/QVRPlatformDirectory.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>

#include "QVRSystem/platform/posix/QVRPosixNotCancelled.h"

namespace qvr::QVR_PLATFORM {

namespace {

EntryType typeOf(const dirent64& entry) noexcept {
  switch (entry.d_type) {
    case DT_REG:
      return EntryType::kRegular;
    case DT_DIR:
      return EntryType::kDirectory;
    case DT_LNK:
      return EntryType::kLink;
    case DT_UNKNOWN:
      return EntryType::kUnknown;
    default:
      return EntryType::kOther;
  }
}

int readBlock(DirectoryReader& reader) noexcept {
  const ssize_t size = getdents64(reader.descriptor, reader.block, sizeof reader.block);
  if (size < 0) return errno;
  reader.next = 0;
  reader.end = static_cast<std::size_t>(size);
  return size == 0 ? ENOENT : 0;
}

}  // namespace

int openDirectory(const char* path, DirectoryReader& reader) noexcept {
  reader.descriptor = uninterrupted([&] { return open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
  return reader.descriptor == -1 ? errno : 0;
}

int nextEntry(DirectoryReader& reader, DirectoryEntry& entry) noexcept {
  if (reader.next == reader.end) {
    if (const int error = readBlock(reader); error != 0) return error;
  }
  const auto& record = *reinterpret_cast<const dirent64*>(reader.block + reader.next);
  reader.next += record.d_reclen;
  entry = {record.d_name, typeOf(record)};
  return 0;
}

int closeDirectory(DirectoryReader& reader) noexcept {
  const NotCancelled scope;
  const int descriptor = reader.descriptor;
  reader.descriptor = -1;
  return close(descriptor) == 0 ? 0 : errno;
}

int freeSpace(const char* path, std::uint64_t& bytes) noexcept {
  struct statvfs volume;
  if (statvfs(path, &volume) != 0) return errno;
  bytes = std::uint64_t{volume.f_bfree} * volume.f_frsize;
  return 0;
}

}  // namespace qvr::QVR_PLATFORM
