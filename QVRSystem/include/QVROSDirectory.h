// One directory: its free space and its contents.
#pragma once

#include <cstdint>

#include "QVROSDirectoryIterator.h"
#include "QVROSPath.h"
#include "QVRSystemExport.h"

/// Names one directory and answers how much space its volume has, whether it is
/// empty and what it contains. The directory need not exist until it is asked.
///
/// Two are equal whose path texts are: nothing is looked up, and "a" and "a\."
/// differ.
///
/// @par Thread safety
/// A plain value: distinct objects may be used on distinct threads.
class QVRSYSTEM_API QVROSDirectory {
 public:
  /// The current directory, ".".
  QVROSDirectory() = default;
  explicit QVROSDirectory(const QVROSPath& path);
  QVROSDirectory(const QVROSDirectory&) = default;
  QVROSDirectory& operator=(const QVROSDirectory&) = default;
  virtual ~QVROSDirectory();

  void setPath(const QVROSPath& path);
  /// Lives as long as this object and follows setPath().
  const QVROSPath& getPath() const;

  /// Free bytes of the volume that holds the directory, those that only the
  /// superuser may use included.
  /// @throws QVREDoesNotExist "Can not get free space of directory that does
  ///   not exist".
  /// @throws QVREAccessDenied "Failed to get freespace", where the system does
  ///   not tell.
  std::uint64_t freeSpace() const;

  /// Whether the directory has fewer than three entries, "." and ".." among
  /// them: where a listing lacks these two, one or two real entries still count
  /// as none. Stops at the third.
  /// @throws QVREOpenFailed as begin() does.
  bool empty() const;

  /// A walk over this one directory, at its first entry.
  /// @throws QVREOpenFailed "Error encountered while opening first file in
  ///   directory", where it cannot be opened.
  QVROSDirectoryIterator begin() const;

  /// The end of such a walk. Opens the directory too, so it fails as begin()
  /// does; a loop does well to call it once.
  QVROSDirectoryIterator end() const;

  bool operator==(const QVROSDirectory& other) const;
  bool operator!=(const QVROSDirectory& other) const;

 private:
  QVROSPath path_;
};
