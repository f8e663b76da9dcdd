// A file that the library opens and callers read and write through streams.
#pragma once

#include <fstream>
#include <streambuf>

#include "QVROSPath.h"
#include "QVRSystemExport.h"

/// A path and the buffer of the file that is open there, to which callers attach
/// their streams.
///
/// @code
/// QVROSRegularFile file("%HOME%\\report.txt", std::ios_base::out);
/// std::ostream out(file.getBuffer());
/// out << "done\n";
/// @endcode
///
/// Failures are QVREOpenFailed from "QVRSystem/QVRFileUtilsMD.m/src/QVROSRegularFile".
///
/// @par Thread safety
/// Distinct objects may be used on distinct threads.
class QVRSYSTEM_API QVROSRegularFile {
 public:
  /// No file is open; the path is ".".
  QVROSRegularFile();

  /// Opens a file as open() does.
  QVROSRegularFile(const QVROSPath& path, int mode);

  QVROSRegularFile(const QVROSRegularFile&) = delete;
  QVROSRegularFile& operator=(const QVROSRegularFile&) = delete;

  /// Closes the file.
  virtual ~QVROSRegularFile();

  /// Closes the file that is open and opens another, at the expanded text of its path.
  /// Others may read and write it meanwhile. A new file has mode 0666 less the umask.
  /// @param mode std::ios_base::in, out, ate, app, trunc and binary, combined.
  /// @throws QVREOpenFailed "The directory for the file does not exist".
  /// @throws QVREOpenFailed "Failed to open stream buffer for file".
  ///   No file is open after a failure, and getPath() names the one that failed.
  void open(const QVROSPath& path, int mode);

  /// Writes what the buffer holds and closes the file; a failure to write is not
  /// reported. Does nothing where no file is open.
  void close();

  bool isOpen() const;

  /// The buffer, which stays this object's: it lives as long, open or not.
  std::filebuf* getBuffer();
  operator std::streambuf*();

  /// The path as it was given, unexpanded.
  QVROSPath getPath() const;

  /// @name Comparisons
  /// By the exact texts of the paths.
  /// @{
  bool operator==(const QVROSRegularFile& other) const;
  bool operator!=(const QVROSRegularFile& other) const;
  /// Whether the paths differ: not an order, each of two files is less than the other.
  bool operator<(const QVROSRegularFile& other) const;
  /// @}

 private:
  void _open();

  std::filebuf buffer_;
  int mode_ = std::ios_base::out;
  QVROSPath path_;
};
