// Files and the current directory, as the system offers them.
//
// Every function returns 0 or the system's error number and throws nothing.
// Paths are in the system's own form and end in a zero byte.
#pragma once

#include <cstddef>
#include <cstdio>
#include <ctime>

#include "QVRSystem/platform/QVRPlatformNamespace.h"

struct stat;

namespace qvr {

/// What a file is opened for. No child process inherits it.
enum class FileOpening {
  kReading,      ///< the file has to exist
  kOverwriting,  ///< emptied, and made where there is none
  kCreating,     ///< must not exist
};

}  // namespace qvr

namespace qvr::QVR_PLATFORM {

/// Whether the real user may execute (1), write (2) and read (4) the file, or
/// with 0 whether it exists.
int checkAccess(const char* path, int mode) noexcept;

/// The status of the file, links followed.
int readStatus(const char* path, struct stat& status) noexcept;

/// Sets times of last access and modification, without fractions; one that is
/// null stays as it is.
int setTimes(const char* path, const std::time_t* access, const std::time_t* modify) noexcept;

int removeFile(const char* path) noexcept;
int removeDirectory(const char* path) noexcept;
int makeDirectory(const char* path) noexcept;
int changeDirectory(const char* path) noexcept;

/// Writes the absolute path of the current directory; ERANGE where it needs more
/// than `size` bytes.
int currentDirectory(char* path, std::size_t size) noexcept;

/// Opens a nameless file that goes when its stream is closed.
int openTemporary(std::FILE*& stream) noexcept;

int openFile(const char* path, FileOpening opening, int& file) noexcept;

/// The descriptor is free afterwards in any case. A failure says that bytes
/// written before did not all arrive.
int closeFile(int file) noexcept;

// Three ways to pass bytes on between the positions of two files, the quickest
// first; each is refused for more kinds of files than the next. All tell how many
// bytes they passed: 0 at the end of the input.

/// Within the file system.
int copyRange(int from, int to, std::size_t& copied) noexcept;
/// Within the kernel.
int sendRange(int from, int to, std::size_t& copied) noexcept;
/// Through this process. A failure of writing loses what was read.
int passBytes(int from, int to, std::size_t& copied) noexcept;

}  // namespace qvr::QVR_PLATFORM
