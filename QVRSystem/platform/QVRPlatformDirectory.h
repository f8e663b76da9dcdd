// Reading directories, and the space of the volumes that hold them.
//
// Every function returns 0 or the system's error number and throws nothing.
#pragma once

#include <cstddef>
#include <cstdint>

#include "QVRSystem/platform/QVRPlatformNamespace.h"

namespace qvr {

/// What a directory tells of an entry along with its name, links not followed.
enum class EntryType : unsigned char { kUnknown, kRegular, kDirectory, kLink, kOther };

struct DirectoryEntry {
  const char* name = nullptr;
  EntryType type = EntryType::kUnknown;
};

/// A directory that is being read, a block of entries at a time.
struct DirectoryReader {
  // What a call of the system brings: large enough for hundreds of entries.
  static constexpr std::size_t kBlockSize = 32 * 1024;

  int descriptor = -1;
  std::size_t next = 0;  // where in the block the next entry begins
  std::size_t end = 0;
  alignas(std::uint64_t) std::byte block[kBlockSize];
};

}  // namespace qvr

namespace qvr::QVR_PLATFORM {

/// Opens what `path` names for nextEntry(), links followed; ENOTDIR where that
/// is no directory. Programs that the process starts do not inherit it.
int openDirectory(const char* path, DirectoryReader& reader) noexcept;

/// The next entry, "." and ".." among them, in the system's order. Its name lasts
/// until the next call. ENOENT behind the last one, where `entry` stays as it was.
int nextEntry(DirectoryReader& reader, DirectoryEntry& entry) noexcept;

/// Closes what openDirectory() has opened, also where it fails.
int closeDirectory(DirectoryReader& reader) noexcept;

/// The free bytes of the volume that holds `path`, reserved ones included.
int freeSpace(const char* path, std::uint64_t& bytes) noexcept;

}  // namespace qvr::QVR_PLATFORM
