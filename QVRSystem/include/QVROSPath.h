// How the library names a file or a directory, and what can be done with one.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

#include "QVRSystemExport.h"
#include "QVRTypes.h"

struct stat;

/// A path text with backslashes between its names, on every platform.
///
/// The text keeps its case, its repeated separators and its "." and ".." as
/// they were given; forward slashes become backslashes on the way in. Every byte
/// but zero may be part of a name, whatever the locale: the system gets the bytes
/// as they stand, with forward slashes. A text with a zero byte names nothing:
/// queries answer false, actions fail as for what is absent.
///
/// Where an operation works on the *expanded* text, getExpandedPath() says what
/// that is; *unexpanded*, percent signs are ordinary characters.
///
/// Failures bear the source "QVRSystem/QVRFileUtilsMD.m/src/QVROSPath". Besides
/// those named, only std::bad_alloc is thrown. No failure changes the object, and
/// none leaves a descriptor open.
///
/// @par Thread safety
/// A plain value. The working directory and the variable HOME, which some
/// operations read, belong to the whole process.
class QVRSYSTEM_API QVROSPath {
 public:
  /// What to do when the target of an action exists already.
  enum createMode : int {
    OVERWRITE = 0,       ///< replace it
    FAIL_IF_EXISTS = 1,  ///< throw
  };

  /// Names the current directory: ".".
  QVROSPath();
  QVROSPath(const std::string& path);
  /// @param path not null.
  QVROSPath(const char* path);

  QVROSPath(const QVROSPath&) = default;
  QVROSPath(QVROSPath&&) noexcept = default;
  virtual ~QVROSPath();

  QVROSPath& operator=(const QVROSPath&) = default;
  QVROSPath& operator=(QVROSPath&&) noexcept = default;
  QVROSPath& operator=(const std::string& path);
  QVROSPath& operator=(const char* path);
  void setPath(const std::string& path);

  /// The text, unexpanded.
  std::string getPath() const;
  /// The separator within the text: a backslash.
  char getDelimiter() const;
  /// The text with backslashes only.
  std::string getNTPath() const;
  /// The text with forward slashes only.
  std::string getUNIXPath() const;

  /// @name Comparisons
  /// By the exact text; a string is made into a path first.
  /// @{
  bool operator==(const QVROSPath& other) const;
  bool operator!=(const QVROSPath& other) const;
  bool operator==(const std::string& other) const;
  bool operator!=(const std::string& other) const;
  bool operator==(const char* other) const;
  bool operator!=(const char* other) const;
  /// @}

  /// The name behind the last separator; a single trailing separator does not
  /// count: "c" of "a\b\c", "b" of "a\b\". Empty for the root and behind two
  /// trailing separators.
  std::string basename() const;

  /// The text before the last separator, a trailing one not counted: "a\b" of
  /// "a\b\c", "a" of "a\b\", "\" of "\a". Without one, "." or, where the text
  /// holds a colon, the text: "C:" of "C:" and of "C:\".
  std::string dirname() const;

  /// Appends a path with exactly one separator where the two meet; separators
  /// within them stay as they are. An empty part adds a separator only where the
  /// text has none at its end; to an empty text the part is appended as it is.
  void appendPath(const std::string& part);

  /// At most 1024 bytes, and none of the forward slash, : ? " < > | tab, newline
  /// and blank. So no path with a drive letter is valid.
  bool isNTValid(const std::string& path) const;
  /// At most 1024 bytes, and none of the backslash, ` " tab, newline and blank.
  bool isUNIXValid(const std::string& path) const;
  /// isNTValid() of the own text.
  bool isValid() const;

  /// The text with every name in a pair of percent signs, signs included,
  /// replaced by the value of the environment variable HOME, whatever the name;
  /// by nothing where HOME is not set. A pair with a separator between is none.
  ///
  /// The search for the next pair goes on at the position where the first ended
  /// before it was replaced: a shorter value of HOME hides a pair that follows
  /// closely. There are never more replacements than pairs in the text itself.
  std::string getExpandedPath() const;

  /// The expanded text joined with the current directory unless it is absolute,
  /// and folded as text: "." is dropped, ".." takes back the name before it (at
  /// the root nothing), repeated separators become one, a trailing one is kept.
  /// Links are not followed, nothing needs to exist, no length is too long.
  /// @throws QVREAccessDenied "Could not access file" if the text is empty, or
  ///   relative in a current directory that is gone.
  std::string getFullPath() const;

  /// The current directory, with backslashes.
  /// @throws QVREDoesNotExist " file does not exists" if it is gone.
  std::string getCurrentDir() const;

  /// Makes a directory, unexpanded, the current one of the whole process.
  /// @throws QVREAccessDenied "Failed to change current working directory".
  void changeCurrentDir(const std::string& directory) const;

  /// Opens a nameless file for reading and writing that goes when it is closed.
  /// @return the stream, the caller's to close; never null.
  /// @throws QVRECannotCreate "could not create tempary file".
  std::FILE* createTemparyFile() const;

  /// @name Queries
  /// False where the answer cannot be had; links are followed. The first four
  /// answer for the real user, everything else acts as the effective one.
  /// @{
  bool exists() const;
  bool isReadable() const;
  bool isWritable() const;
  /// Asks of the unexpanded text.
  bool isExecutable() const;
  bool isRegularFile() const;
  bool isDirectory() const;
  /// @}

  /// @name Status
  /// Of what the path names, links followed. Times are of the unexpanded text, in
  /// seconds since 1970-01-01 00:00 UTC; those returned are the low 32 bits,
  /// signed, those given are taken in full.
  /// @throws QVREDoesNotExist "The file does not exist".
  /// @throws QVREAccessDenied "Permission denied" if the status cannot be read.
  /// @{

  /// Size in bytes of the file at the expanded text: the low 32 bits, signed.
  int size() const;

  long getAccessTime() const;
  long getModifyTime() const;
  /// The time of the last change to the file or its status.
  long getStatusTime() const;
  /// Sets the time of the last access, with no fraction of a second; the time of
  /// the last modification stays. A refusal of the system is not reported.
  void setAccessTime(const long& seconds) const;
  /// Sets the time of the last modification, as setAccessTime() does the other.
  void setModifyTime(const long& seconds) const;
  /// @}

  /// @name Actions
  /// All on the expanded text.
  /// @{

  /// Unlinks the file; of a link, the link.
  /// @throws QVREDoesNotExist "The file does not exist".
  /// @throws QVREAccessDenied "Permission denied, removal of file failed".
  void removeRegularFile() const;

  /// Removes the directory, which has to be empty.
  /// @throws QVREDoesNotExist "The file does not exist".
  /// @throws QVREAccessDenied "Removal of directory failed".
  void removeDirectory() const;

  /// Makes an empty file with mode 0666 less the umask. Any mode but OVERWRITE
  /// refuses a target that exists; OVERWRITE removes it first.
  /// @throws QVREAlreadyExists "File to be created already exists.".
  /// @throws QVRECannotCreate "Creation of regular file failed.".
  /// @throws QVREAccessDenied as removeRegularFile().
  void createRegularFile(createMode mode) const;

  /// Makes one directory with mode 0777 less the umask; none above it.
  /// @throws QVREAlreadyExists "File to be created already exists.".
  /// @throws QVRECannotCreate "could not create directory".
  void createDirectory() const;

  /// Copies a regular file's bytes. An existing destination keeps its mode, a new
  /// one gets 0666 less the umask. Errors while reading or writing are not
  /// reported: the copy ends there.
  ///
  /// The checks, of which the first that fails throws:
  /// | class, text | condition |
  /// |---|---|
  /// | QVREAccessDenied "Could not access file" | no full path of the destination |
  /// | QVREDoesNotExist "The file does not exist" | no source |
  /// | QVREAccessDenied "Permission denied, can not read source file" | |
  /// | QVREAccessDenied "Moving to same location" | full paths equal, or two names of one file |
  /// | QVREDoesNotExist "Destionation directory does not exist" | |
  /// | QVREAccessDenied "Permission denied, can not write to destination directory" | |
  /// | QVREAlreadyExists "Destination file already exists" | mode is FAIL_IF_EXISTS |
  /// | QVREAccessDenied "Permission denied, can not write to destination file" | |
  /// | QVREAccessDenied "This version of copy can only copy files" | no regular file |
  /// | QVREAccessDenied "Permission denied" | one of the files cannot be opened |
  ///
  /// @param mode any value but FAIL_IF_EXISTS overwrites an existing destination.
  void copy(const QVROSPath& destination, createMode mode) const;

  /// Copies the file as copy() does, with the same checks ("This version of move
  /// can only move files"), and then unlinks the source; never a renaming.
  /// @throws QVREAccessDenied "Can not remove origonal, action was that of copy"
  ///   if the source cannot be unlinked or not all its bytes could be copied. The
  ///   source is still there then, and so is what was copied.
  void move(const QVROSPath& destination, createMode mode) const;
  /// @}

 private:
  friend struct QVROSPathTestAccess;
  // Makes a path of each entry from a text that needs no conversion.
  friend class QVROSDirectoryIterator;
  // Reads the texts of its entries where they are.
  friend class QVROSSearchPath;

  static void _convertPath(std::string& path, char delimiter);
  static std::size_t _findNextDelimiter(const std::string& path, std::size_t from);
  static bool _getAccess(const std::string& path, int mode);
  static int _getStat(const std::string& path, struct stat* status);
  static void _ValidateExistance(const std::string& path);
  // Whether all bytes arrived.
  static bool _filecopy(const std::string& from, const std::string& to);

  // Throws what the status values do.
  static struct stat _requireStat(const std::string& path);
  static std::string _fullPath(const std::string& path);
  // Appends names to a full path that has no separator at its end.
  static void _appendFolded(std::string& full, const std::string& path);
  static void _checkCopy(const std::string& from, const std::string& to, createMode mode,
                         const wchar16* onlyFiles);
  static void _checkTargetDirectory(const std::string& directory);
  static void _checkTarget(const std::string& path, createMode mode);

  void _expandEnvVars(std::string& path) const;
  void _expandNTEnvVars(std::string& path) const;
  void _expandUNIXEnvVars(std::string& path) const;

  std::string path_;
};
