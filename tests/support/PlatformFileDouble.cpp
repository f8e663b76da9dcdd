#include "QVRSystem/platform/QVRPlatformFile.h"
#include "support/PlatformForward.h"

QVR_REAL_FUNCTION(checkAccess)
QVR_REAL_FUNCTION(readStatus)
QVR_REAL_FUNCTION(setTimes)
QVR_REAL_FUNCTION(removeFile)
QVR_REAL_FUNCTION(removeDirectory)
QVR_REAL_FUNCTION(makeDirectory)
QVR_REAL_FUNCTION(changeDirectory)
QVR_REAL_FUNCTION(currentDirectory)
QVR_REAL_FUNCTION(openTemporary)
QVR_REAL_FUNCTION(openFile)
QVR_REAL_FUNCTION(closeFile)
QVR_REAL_FUNCTION(copyRange)
QVR_REAL_FUNCTION(sendRange)
QVR_REAL_FUNCTION(passBytes)

namespace qvr::platform {

using platform_double::forward;

int checkAccess(const char* path, int mode) noexcept {
  return forward("checkAccess", &posix::checkAccess, path, mode);
}
int readStatus(const char* path, struct stat& status) noexcept {
  return forward("readStatus", &posix::readStatus, path, status);
}
int setTimes(const char* path, const std::time_t* access, const std::time_t* modify) noexcept {
  return forward("setTimes", &posix::setTimes, path, access, modify);
}
int removeFile(const char* path) noexcept {
  return forward("removeFile", &posix::removeFile, path);
}
int removeDirectory(const char* path) noexcept {
  return forward("removeDirectory", &posix::removeDirectory, path);
}
int makeDirectory(const char* path) noexcept {
  return forward("makeDirectory", &posix::makeDirectory, path);
}
int changeDirectory(const char* path) noexcept {
  return forward("changeDirectory", &posix::changeDirectory, path);
}
int currentDirectory(char* path, std::size_t size) noexcept {
  return forward("currentDirectory", &posix::currentDirectory, path, size);
}
int openTemporary(std::FILE*& stream) noexcept {
  return forward("openTemporary", &posix::openTemporary, stream);
}
int openFile(const char* path, FileOpening opening, int& file) noexcept {
  return forward("openFile", &posix::openFile, path, opening, file);
}
// The descriptor is closed also where the plan says that it failed.
int closeFile(int file) noexcept {
  const int error = posix::closeFile(file);
  const int planned = platform_double::plannedError("closeFile");
  return planned != 0 ? planned : error;
}
int copyRange(int from, int to, std::size_t& copied) noexcept {
  return forward("copyRange", &posix::copyRange, from, to, copied);
}
int sendRange(int from, int to, std::size_t& copied) noexcept {
  return forward("sendRange", &posix::sendRange, from, to, copied);
}
int passBytes(int from, int to, std::size_t& copied) noexcept {
  return forward("passBytes", &posix::passBytes, from, to, copied);
}

}  // namespace qvr::platform
