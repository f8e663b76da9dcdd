#include "QVRSystem/platform/QVRPlatformDirectory.h"
#include "support/PlatformForward.h"

QVR_REAL_FUNCTION(openDirectory)
QVR_REAL_FUNCTION(nextEntry)
QVR_REAL_FUNCTION(closeDirectory)
QVR_REAL_FUNCTION(freeSpace)

namespace qvr::platform {

using platform_double::forward;

int openDirectory(const char* path, DirectoryReader& reader) noexcept {
  return forward("openDirectory", &posix::openDirectory, path, reader);
}
int nextEntry(DirectoryReader& reader, DirectoryEntry& entry) noexcept {
  const int error = forward("nextEntry", &posix::nextEntry, reader, entry);
  // A plan for "entryType" makes the directory one that tells no types.
  if (error == 0 && platform_double::plannedError("entryType") != 0) {
    entry.type = EntryType::kUnknown;
  }
  return error;
}
int closeDirectory(DirectoryReader& reader) noexcept {
  return forward("closeDirectory", &posix::closeDirectory, reader);
}
int freeSpace(const char* path, std::uint64_t& bytes) noexcept {
  return forward("freeSpace", &posix::freeSpace, path, bytes);
}

}  // namespace qvr::platform
