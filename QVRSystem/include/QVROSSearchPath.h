// Directories in which a file is looked up.
#pragma once

#include <list>
#include <string>

#include "QVROSPath.h"
#include "QVRSystemExport.h"

/// An ordered list of directories: of those that have a file, the first one wins.
///
/// It is filled from texts in which directories are separated by semicolons, whatever
/// the delimiter is, which serves only to write them. Empty pieces are skipped;
/// nothing else is done to a piece: blanks stay, variables are expanded when a file is
/// looked up, and nothing needs to exist. Directories are the same whose texts are.
///
/// Adding a directory that is there already moves it. Equal pieces within one text stay
/// where the text makes the list or is inserted; of these pushBack() keeps the last and
/// pushFront() the first.
///
/// Throws nothing but std::bad_alloc, which leaves the list as it was.
///
/// @par Thread safety
/// A plain value.
class QVRSYSTEM_API QVROSSearchPath {
 public:
  using iterator = std::list<QVROSPath>::iterator;
  using const_iterator = std::list<QVROSPath>::const_iterator;

  /// @param delimiter what getPathList() writes behind each directory.
  explicit QVROSSearchPath(unsigned char delimiter = ';');
  QVROSSearchPath(const std::string& list, unsigned char delimiter);
  QVROSSearchPath(const QVROSSearchPath& other);
  virtual ~QVROSSearchPath();

  /// Takes directories and delimiter. Iterators stay valid where both were equal.
  QVROSSearchPath& operator=(const QVROSSearchPath& other);
  /// Takes the directories of the text and keeps the delimiter.
  QVROSSearchPath& operator=(const std::string& list);
  /// Adds the directories as pushBack() does.
  QVROSSearchPath& operator+=(const QVROSSearchPath& other);
  QVROSSearchPath& operator+=(const std::string& list);

  /// Puts the directories of a text, in their order, before all others.
  void pushFront(const std::string& list);
  /// Puts the directories of a text, in their order, behind all others.
  void pushBack(const std::string& list);
  /// Puts the directories of a text, in their order, before `position`, which may be one
  /// of them itself: then they take its place.
  void insertPath(const iterator& position, const std::string& list);

  void removePath(const iterator& position);
  /// Removes, for each directory of the text, the first of the list that is the same.
  void removePath(const std::string& list);
  void clear();

  /// The first directory with that text, or end().
  iterator findPath(const QVROSPath& path);
  const_iterator findPath(const QVROSPath& path) const;

  /// Looks for the first directory in which the expanded name exists, be it a file or a
  /// directory. An absolute name is looked for below the directories too.
  /// @param[out] result the expanded directory joined with the expanded name; the name
  ///   as given where no directory has it.
  bool findFile(const QVROSPath& file, QVROSPath& result) const;

  /// The directories, unexpanded, each followed by the delimiter, the last one too.
  std::string getPathList() const;

  void setDelimiter(unsigned char delimiter);

  iterator begin();
  iterator end();
  const_iterator begin() const;
  const_iterator end() const;

  /// Whether the delimiters and, in their order, the directories are equal.
  bool operator==(const QVROSSearchPath& other) const;
  bool operator!=(const QVROSSearchPath& other) const;

 private:
  friend struct QVROSSearchPathTestAccess;

  static std::list<QVROSPath> _convertPath(const std::string& list);
  void _pushFront(std::list<QVROSPath> paths);
  void _pushBack(std::list<QVROSPath> paths);

  unsigned char delimiter_;
  std::list<QVROSPath> entries_;
};
