// The entries of one directory, on their way through the walk.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "Checksum.h"
#include "QVRCountedObject.h"
#include "QVRCountedPointer.h"

namespace catalogue {

class Directory;

/// A regular file or a directory that is still to be read.
struct Entry {
  /// That of a directory ends in a slash: so the entries of a directory that are in the byte
  /// order of their names are in that of their paths, with all that is below them.
  std::string name;
  /// Of the content, or of the contents below, where it is a part of that of all; nothing until
  /// known.
  std::optional<Checksum> checksum;

  bool isDirectory() const { return name.back() == '/'; }
};

/// Entries that one worker deals with at once: some files, or one directory.
struct Portion {
  QVRCountedPointer<Directory> directory;  ///< the one that they are in
  std::span<Entry> entries;
};

/// A directory that has been listed. It lives as long as there is something to do within it:
/// its portions hold it, and so do the directories below. When the last of them lets go, the
/// checksum of its contents is known and goes to its own entry.
class Directory : public QVRCountedObject {
 public:
  /// @param prefix of the paths of its entries, which ends in a slash.
  /// @param entries in any order.
  /// @param parent holds `total`; null for the root of the tree.
  Directory(std::string prefix, std::vector<Entry> entries, QVRCountedPointer<Directory> parent,
            std::optional<Checksum>& total);
  ~Directory() override;

  std::string pathOf(const Entry& entry) const;

  // One thread at a time may call these; the portions may be used on any threads.

  bool hasPortions() const { return handedOut_ != entries_.size(); }
  /// The next ones in order. There must be some.
  std::span<Entry> takePortion();

 private:
  const std::string prefix_;
  std::vector<Entry> entries_;
  std::size_t handedOut_ = 0;
  const QVRCountedPointer<Directory> parent_;
  std::optional<Checksum>& total_;
};

}  // namespace catalogue
