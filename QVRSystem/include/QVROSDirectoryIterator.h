// A walk over the entries of a directory or of a whole tree.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "QVROSPath.h"
#include "QVRSystemExport.h"

/// An input iterator that yields one path per directory entry, of one directory
/// or depth first of the tree beneath it, a directory before its contents. The
/// order within a directory is the system's. "." and ".." are yielded like any
/// other entry and never entered; so are hidden entries.
///
/// | state           | reached by                   | reads as   | advancing             |
/// |-----------------|------------------------------|------------|-----------------------|
/// | not initialised | constructors without a path  | empty path | throws (see below)    |
/// | current         | constructor with a path      | its entry  | next entry, or at end |
/// | at end          | last advance, setToEnd()     | empty path | false                 |
/// | nothing open    | an assignment that failed    | empty path | throws (see below)    |
///
/// All failures are QVREOpenFailed or a lack of memory. Advancing what is not
/// initialised says "Trying to advance uninitialized iterator" in a FLAT walk and
/// "Trying to advance uninitalized iterator" in a RECURSIVE one; with nothing open
/// it is "No valid directory pointer".
///
/// A copy takes over the state of its source. Only assigning from an iterator
/// that is not initialised makes one so again.
///
/// A recursive walk enters everything that is not a regular file, as the path of
/// the entry names it: links are followed, and an entry that cannot be opened as
/// a directory (a socket, a dangling link, a directory without permission) makes
/// the advance fail. The iterator is then still at that entry, and skip() passes
/// over it. Each level is opened by the full text of its path; a cycle of links
/// ends in such a failure where the system follows no more of them.
///
/// A name that holds a backslash, or pairs of percent signs on the way to it,
/// are read as every QVROSPath reads them: they name something else, or nothing.
///
/// @par Thread safety
/// An iterator is one thread's.
/// @par Cost
/// One open descriptor and 32 KiB of buffer per level; none at the end. The type
/// of a plain entry comes with its name: the system is asked for the status of
/// links only, of entries where it tells no type, and where the path has a percent
/// sign or the name a backslash. A copy reads each open directory up to the
/// entry again.
class QVRSYSTEM_API QVROSDirectoryIterator {
 public:
  /// Any value but RECURSIVE acts as FLAT.
  enum iteratorMode : int { FLAT = 0, RECURSIVE = 1 };

  /// Not initialised, FLAT.
  QVROSDirectoryIterator();
  /// Not initialised.
  explicit QVROSDirectoryIterator(iteratorMode mode);

  /// At the first entry of the directory that the expanded path names.
  /// @throws QVREOpenFailed "Error encountered while opening first file in
  ///   directory"; nothing stays open.
  QVROSDirectoryIterator(const QVROSPath& root, iteratorMode mode);

  /// At the same entry of the same tree, with directories of its own.
  /// @throws QVREOpenFailed "Failed to copy data from one interator to another."
  ///   if the entry, or a directory on the way to it, is there no more; "Error
  ///   encountered while opening first file in directory" if one cannot be opened.
  QVROSDirectoryIterator(const QVROSDirectoryIterator& other);

  /// As copying, but keeps its own mode. Does nothing where the two are equal;
  /// otherwise closes all that it held.
  /// @throws QVREOpenFailed as copying does; nothing is open afterwards.
  QVROSDirectoryIterator& operator=(const QVROSDirectoryIterator& other);

  virtual ~QVROSDirectoryIterator();

  /// Goes on to the next entry. The end of a directory that can be read no
  /// further is where reading failed.
  /// @return whether there was one; false at the end, where no level is open.
  /// @throws QVREOpenFailed as the table says; "Error encountered while opening
  ///   first file in directory" where the entry cannot be entered: the iterator
  ///   stays at it and may be advanced again, copied, or passed on with skip().
  bool operator++(int);

  /// As the step above, but never enters the current entry.
  bool skip();

  /// The current entry; see the table for where there is none.
  QVROSPath operator*() const;
  QVROSPath getCurrentFile() const;

  /// Closes everything. @return false, and nothing changes, if not initialised.
  bool setToEnd();

  /// Two that are not initialised are equal, and equal to no others. Otherwise
  /// two are equal with equal texts of their roots that are both at their end, or
  /// both at entries with the same path.
  bool operator==(const QVROSDirectoryIterator& other) const;
  bool operator!=(const QVROSDirectoryIterator& other) const;

 private:
  friend struct QVROSDirectoryIteratorTestAccess;
  struct Level;

  void _openDir(const std::string& name);
  bool _closeDir();
  bool _advancePointer();
  bool _advanceCurrentDir();
  bool _advanceRecursivePointer();
  bool _compare(const QVROSDirectoryIterator& other) const;
  void _assignValues(const QVROSDirectoryIterator& source);
  void _convertWstringToString(std::string& to, const std::u16string& from) const;

  bool canAdvanceRecursive() const;
  Level& innermost() const;
  std::string entryPath() const;
  bool isToBeEntered() const;
  bool passEntry();
  void stepTo(const char* name);
  void closeAll() noexcept;

  QVROSPath root_;  // as passed
  bool atEnd_ = false;
  bool initialised_ = false;
  iteratorMode mode_ = FLAT;
  // The path of the innermost level and a separator: what entries' names follow.
  std::string prefix_;
  std::vector<std::unique_ptr<Level>> levels_;  // the root's first
};
