// What a walk over a directory tree has found.
#pragma once

#include <compare>
#include <cstdint>
#include <exception>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "Checksum.h"
#include "QVRSysDate.h"
#include "QVRUUID.h"

namespace catalogue {

struct Totals {
  std::uint64_t directories = 0;  ///< the given one included
  std::uint64_t regularFiles = 0;
  std::uint64_t otherEntries = 0;  ///< links, sockets, pipes, devices
  std::uint64_t bytes = 0;         ///< of the regular files
};

struct FilesAndBytes {
  std::uint64_t files = 0;
  std::uint64_t bytes = 0;
};

/// Nothing stands for the files whose year is not known.
using Years = std::map<std::optional<int>, FilesAndBytes>;

struct LargeFile {
  std::string path;
  std::uint64_t bytes = 0;
  QVRSysDate modified;               ///< invalid where it is not known
  std::optional<Checksum> checksum;  ///< of its content, if that was read
};

struct Unreadable {
  std::string path;
  std::string error;  ///< the exception's class
  std::string what;
  std::string where;

  auto operator<=>(const Unreadable&) const = default;
};

/// Paths are texts with forward slashes.
struct Catalogue {
  Totals totals;
  Years byYear;
  /// At most ten; the largest first, equal ones in the byte order of their paths.
  std::vector<LargeFile> largest;
  /// In no order until sortUnreadable() puts them in the byte order of their paths.
  std::vector<Unreadable> unreadable;
  /// Of the contents of all files that could be read, one after the other in the byte order of
  /// their paths; nothing if they were not all asked for, or not all reached.
  std::optional<Checksum> checksum;
  bool isInterrupted = false;
  QVRUUID run = QVRUUID::Nil;  ///< tells the walk from all others, on whatever machine
  double elapsedSeconds = 0;

  /// Adds what was read of a regular file; totals.regularFiles is not touched.
  void addFile(LargeFile file);

  void addUnreadable(const std::string& path, const std::exception& failure);

  /// Whether the file is among the largest of those so far.
  bool isLarge(const LargeFile& file) const;

  /// Adds what has been found elsewhere in the tree; in what order is of no consequence.
  void add(Catalogue other);

  void sortUnreadable();
};

}  // namespace catalogue
