#include "QVROSPath.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "QVREAccessDenied.h"
#include "QVREAlreadyExists.h"
#include "QVRECannotCreate.h"
#include "QVREDoesNotExist.h"
#include "QVRSystem/internal/QVRNativePath.h"
#include "QVRSystem/platform/QVRPlatformFile.h"

namespace {

namespace platform = qvr::platform;
using qvr::mapText;
using qvr::withNativePath;

constexpr char kSource[] = "QVRSystem/QVRFileUtilsMD.m/src/QVROSPath";
constexpr char kBackslash = '\\';
constexpr char kSlash = '/';
constexpr char kReferenceSign = '%';
constexpr char kUnixReferenceSign = '$';
constexpr std::size_t kMaxValidLength = 1024;
constexpr std::size_t kNone = std::string::npos;

// Modes of QVROSPath::_getAccess.
enum Access { kExistence = 0, kExecution = 1, kWriting = 2, kReading = 4 };

constexpr bool isSeparator(char c) { return c == kBackslash || c == kSlash; }

/// Writes a text as a path holds it.
void convert(const char* from, std::size_t size, char* to) {
  mapText(from, size, to, [](char c) { return c == kSlash ? kBackslash : c; });
}

/// Where the last separator is: what rfind() finds byte by byte.
std::size_t lastSeparator(std::string_view text) {
  const void* found = memrchr(text.data(), kBackslash, text.size());
  return found == nullptr ? kNone
                          : static_cast<std::size_t>(static_cast<const char*>(found) - text.data());
}

std::string_view withoutTrailingSeparator(std::string_view text) {
  if (!text.empty() && text.back() == kBackslash) text.remove_suffix(1);
  return text;
}

const char* home() {
  const char* value = std::getenv("HOME");
  return value == nullptr ? "" : value;
}

/// The sign behind the one at `position`.
std::size_t nextReferenceSign(const std::string& path, std::size_t position) {
  return position == kNone ? kNone : path.find(kReferenceSign, position + 1);
}

bool isValidText(const std::string& path, const char* refused) {
  return path.size() <= kMaxValidLength && path.find_first_of(refused) == kNone;
}

int readStatus(const std::string& path, struct stat& status) {
  return withNativePath(path, [&](const char* text) { return platform::readStatus(text, status); });
}

/// The low 32 bits, signed.
template <class Number>
std::int32_t cut(Number number) {
  return static_cast<std::int32_t>(number);
}

/// The current directory as the system gives it; empty if it is gone.
std::string currentDirectory() {
  std::string directory(256, '\0');
  int error;
  while ((error = platform::currentDirectory(directory.data(), directory.size())) == ERANGE) {
    directory.resize(2 * directory.size());
  }
  directory.resize(error == 0 ? std::strlen(directory.c_str()) : 0);
  return directory;
}

/// An open file, closed at the latest with its object.
class File {
 public:
  File(const std::string& path, qvr::FileOpening opening) {
    isOpen_ = withNativePath(path, [&](const char* text) {
                return platform::openFile(text, opening, file_);
              }) == 0;
  }
  ~File() { close(); }

  File(const File&) = delete;
  File& operator=(const File&) = delete;

  bool isOpen() const { return isOpen_; }
  int descriptor() const { return file_; }

  /// Whether everything written has arrived, as far as the system knows by then.
  bool close() {
    if (!isOpen_) return true;
    isOpen_ = false;
    return platform::closeFile(file_) == 0;
  }

 private:
  int file_ = -1;
  bool isOpen_;
};

enum class Outcome { kNothing, kComplete, kFailed };

/// Passes bytes on to the end of the input.
Outcome passAll(int (*pass)(int, int, std::size_t&) noexcept, const File& from, const File& to) {
  Outcome outcome = Outcome::kNothing;
  for (;;) {
    std::size_t passed = 0;
    if (pass(from.descriptor(), to.descriptor(), passed) != 0) return Outcome::kFailed;
    if (passed == 0) return outcome;
    outcome = Outcome::kComplete;
  }
}

/// Whether all bytes were read and written. What one way of passing them refuses
/// or fails at, the next tries; and an input that seems to be empty, as the files
/// of /proc do, is known to be so only when it was read.
bool passAll(const File& from, const File& to) {
  return passAll(platform::copyRange, from, to) == Outcome::kComplete ||
         passAll(platform::sendRange, from, to) == Outcome::kComplete ||
         passAll(platform::passBytes, from, to) != Outcome::kFailed;
}

}  // namespace

QVROSPath::QVROSPath() : path_(".") {}

QVROSPath::QVROSPath(const std::string& path) : path_(path) {
  convert(path.data(), path.size(), path_.data());
}

QVROSPath::QVROSPath(const char* path) : path_(path) { convert(path, path_.size(), path_.data()); }

QVROSPath::~QVROSPath() = default;

QVROSPath& QVROSPath::operator=(const std::string& path) {
  setPath(path);
  return *this;
}

QVROSPath& QVROSPath::operator=(const char* path) {
  path_ = path;
  convert(path, path_.size(), path_.data());
  return *this;
}

void QVROSPath::setPath(const std::string& path) {
  path_.resize(path.size());
  convert(path.data(), path.size(), path_.data());
}

std::string QVROSPath::getPath() const { return path_; }

char QVROSPath::getDelimiter() const { return kBackslash; }

std::string QVROSPath::getNTPath() const { return path_; }

std::string QVROSPath::getUNIXPath() const {
  std::string path = path_;
  _convertPath(path, kSlash);
  return path;
}

bool QVROSPath::operator==(const QVROSPath& other) const { return path_ == other.path_; }

bool QVROSPath::operator!=(const QVROSPath& other) const { return path_ != other.path_; }

bool QVROSPath::operator==(const std::string& other) const { return *this == QVROSPath(other); }

bool QVROSPath::operator!=(const std::string& other) const { return *this != QVROSPath(other); }

bool QVROSPath::operator==(const char* other) const { return *this == QVROSPath(other); }

bool QVROSPath::operator!=(const char* other) const { return *this != QVROSPath(other); }

std::string QVROSPath::basename() const {
  const std::string_view text = withoutTrailingSeparator(path_);
  return std::string(text.substr(lastSeparator(text) + 1));
}

std::string QVROSPath::dirname() const {
  if (path_.size() == 1 && path_.front() == kBackslash) return path_;
  const std::string_view text = withoutTrailingSeparator(path_);
  const std::size_t last = lastSeparator(text);
  if (last == kNone) return text.find(':') == kNone ? "." : std::string(text);
  return std::string(text.substr(0, std::max<std::size_t>(last, 1)));
}

void QVROSPath::appendPath(const std::string& part) {
  if (path_.empty()) return setPath(part);
  const bool ends = path_.back() == kBackslash;
  const bool begins = !part.empty() && isSeparator(part.front());
  const std::size_t begin = path_.size() + (ends || begins ? 0 : 1);
  const std::size_t skipped = ends && begins ? 1 : 0;
  path_.resize(begin + part.size() - skipped, kBackslash);
  convert(part.data() + skipped, part.size() - skipped, path_.data() + begin);
}

bool QVROSPath::isNTValid(const std::string& path) const {
  return isValidText(path, "/:?\"<>|\t\n ");
}

bool QVROSPath::isUNIXValid(const std::string& path) const {
  return isValidText(path, "\\`\"\t\n ");
}

bool QVROSPath::isValid() const { return isNTValid(path_); }

std::string QVROSPath::getExpandedPath() const {
  std::string path = path_;
  _expandEnvVars(path);
  return path;
}

std::string QVROSPath::getFullPath() const { return _fullPath(getExpandedPath()); }

std::string QVROSPath::getCurrentDir() const {
  std::string directory = currentDirectory();
  if (directory.empty()) throw QVREDoesNotExist(u" file does not exists", kSource, __LINE__);
  _convertPath(directory, kBackslash);
  return directory;
}

void QVROSPath::changeCurrentDir(const std::string& directory) const {
  if (withNativePath(directory, platform::changeDirectory) != 0) {
    throw QVREAccessDenied(u"Failed to change current working directory", kSource, __LINE__);
  }
}

std::FILE* QVROSPath::createTemparyFile() const {
  std::FILE* stream;
  if (platform::openTemporary(stream) != 0) {
    throw QVRECannotCreate(u"could not create tempary file", kSource, __LINE__);
  }
  return stream;
}

bool QVROSPath::exists() const { return _getAccess(getExpandedPath(), kExistence); }

bool QVROSPath::isReadable() const { return _getAccess(getExpandedPath(), kReading); }

bool QVROSPath::isWritable() const { return _getAccess(getExpandedPath(), kWriting); }

bool QVROSPath::isExecutable() const { return _getAccess(path_, kExecution); }

bool QVROSPath::isRegularFile() const {
  struct stat status;
  return _getStat(getExpandedPath(), &status) == 0 && S_ISREG(status.st_mode);
}

bool QVROSPath::isDirectory() const {
  struct stat status;
  return _getStat(getExpandedPath(), &status) == 0 && S_ISDIR(status.st_mode);
}

int QVROSPath::size() const { return cut(_requireStat(getExpandedPath()).st_size); }

long QVROSPath::getAccessTime() const { return cut(_requireStat(path_).st_atim.tv_sec); }

long QVROSPath::getModifyTime() const { return cut(_requireStat(path_).st_mtim.tv_sec); }

long QVROSPath::getStatusTime() const { return cut(_requireStat(path_).st_ctim.tv_sec); }

void QVROSPath::setAccessTime(const long& seconds) const {
  _requireStat(path_);
  withNativePath(path_,
                 [&](const char* text) { return platform::setTimes(text, &seconds, nullptr); });
}

void QVROSPath::setModifyTime(const long& seconds) const {
  _requireStat(path_);
  withNativePath(path_,
                 [&](const char* text) { return platform::setTimes(text, nullptr, &seconds); });
}

void QVROSPath::removeRegularFile() const {
  const std::string path = getExpandedPath();
  _ValidateExistance(path);
  if (withNativePath(path, platform::removeFile) != 0) {
    throw QVREAccessDenied(u"Permission denied, removal of file failed", kSource, __LINE__);
  }
}

void QVROSPath::removeDirectory() const {
  const std::string path = getExpandedPath();
  _ValidateExistance(path);
  if (withNativePath(path, platform::removeDirectory) != 0) {
    throw QVREAccessDenied(u"Removal of directory failed", kSource, __LINE__);
  }
}

void QVROSPath::createRegularFile(createMode mode) const {
  const std::string path = getExpandedPath();
  if (_getAccess(path, kExistence)) {
    if (mode != OVERWRITE) {
      throw QVREAlreadyExists(u"File to be created already exists.", kSource, __LINE__);
    }
    removeRegularFile();
  }
  const auto opening =
      mode == OVERWRITE ? qvr::FileOpening::kOverwriting : qvr::FileOpening::kCreating;
  if (!File(path, opening).isOpen()) {
    throw QVRECannotCreate(u"Creation of regular file failed.", kSource, __LINE__);
  }
}

void QVROSPath::createDirectory() const {
  const std::string path = getExpandedPath();
  if (_getAccess(path, kExistence)) {
    throw QVREAlreadyExists(u"File to be created already exists.", kSource, __LINE__);
  }
  if (withNativePath(path, platform::makeDirectory) != 0) {
    throw QVRECannotCreate(u"could not create directory", kSource, __LINE__);
  }
}

void QVROSPath::copy(const QVROSPath& destination, createMode mode) const {
  const std::string from = getExpandedPath();
  const std::string to = destination.getFullPath();
  _checkCopy(from, to, mode, u"This version of copy can only copy files");
  _filecopy(from, to);
}

void QVROSPath::move(const QVROSPath& destination, createMode mode) const {
  const std::string from = getExpandedPath();
  const std::string to = destination.getFullPath();
  _checkCopy(from, to, mode, u"This version of move can only move files");
  if (!_filecopy(from, to) || withNativePath(from, platform::removeFile) != 0) {
    throw QVREAccessDenied(u"Can not remove origonal, action was that of copy", kSource, __LINE__);
  }
}

void QVROSPath::_convertPath(std::string& path, char delimiter) {
  mapText(path.data(), path.size(), path.data(),
          [delimiter](char c) { return isSeparator(c) ? delimiter : c; });
}

std::size_t QVROSPath::_findNextDelimiter(const std::string& path, std::size_t from) {
  if (from >= path.size()) return kNone;
  const auto found =
      std::find_if(path.begin() + static_cast<std::ptrdiff_t>(from), path.end(), isSeparator);
  return found == path.end() ? kNone : static_cast<std::size_t>(found - path.begin());
}

bool QVROSPath::_getAccess(const std::string& path, int mode) {
  return withNativePath(path,
                        [&](const char* text) { return platform::checkAccess(text, mode); }) == 0;
}

int QVROSPath::_getStat(const std::string& path, struct stat* status) {
  return readStatus(path, *status) == 0 ? 0 : -1;
}

void QVROSPath::_ValidateExistance(const std::string& path) {
  if (!_getAccess(path, kExistence)) {
    throw QVREDoesNotExist(u"The file does not exist", kSource, __LINE__);
  }
}

bool QVROSPath::_filecopy(const std::string& from, const std::string& to) {
  const File source(from, qvr::FileOpening::kReading);
  // An existing destination is emptied only for a source that can be read.
  if (source.isOpen()) {
    File target(to, qvr::FileOpening::kOverwriting);
    if (target.isOpen()) {
      const bool isComplete = passAll(source, target);
      return target.close() && isComplete;
    }
  }
  throw QVREAccessDenied(u"Permission denied", kSource, __LINE__);
}

struct stat QVROSPath::_requireStat(const std::string& path) {
  _ValidateExistance(path);
  struct stat status;
  if (_getStat(path, &status) != 0) {
    throw QVREAccessDenied(u"Permission denied", kSource, __LINE__);
  }
  return status;
}

std::string QVROSPath::_fullPath(const std::string& path) {
  const bool isAbsolute = !path.empty() && isSeparator(path.front());
  const std::string directory = isAbsolute || path.empty() ? std::string() : currentDirectory();
  if (!isAbsolute && directory.empty()) {
    throw QVREAccessDenied(u"Could not access file", kSource, __LINE__);
  }
  std::string full;
  _appendFolded(full, directory);
  _appendFolded(full, path);
  if (full.empty() || isSeparator(path.back())) full += kBackslash;
  return full;
}

void QVROSPath::_appendFolded(std::string& full, const std::string& path) {
  for (std::size_t begin = 0; begin < path.size();) {
    const std::size_t end = std::min(_findNextDelimiter(path, begin), path.size());
    const std::string_view name(path.data() + begin, end - begin);
    begin = end + 1;
    if (name.empty() || name == ".") continue;
    if (name == "..") {
      full.resize(full.empty() ? 0 : full.rfind(kBackslash));
    } else {
      (full += kBackslash) += name;
    }
  }
}

// What may be read or written exists: the question for existence is asked only
// to tell the two failures apart.
void QVROSPath::_checkCopy(const std::string& from, const std::string& to, createMode mode,
                           const wchar16* onlyFiles) {
  if (!_getAccess(from, kReading)) {
    _ValidateExistance(from);
    throw QVREAccessDenied(u"Permission denied, can not read source file", kSource, __LINE__);
  }
  struct stat source;
  struct stat target;
  const bool isKnown = readStatus(from, source) == 0;
  const int targetError = readStatus(to, target);
  const bool isSameFile = isKnown && targetError == 0 && source.st_dev == target.st_dev &&
                          source.st_ino == target.st_ino;
  if (isSameFile || _fullPath(from) == to) {
    throw QVREAccessDenied(u"Moving to same location", kSource, __LINE__);
  }
  _checkTargetDirectory(QVROSPath(to).dirname());
  if (targetError != ENOENT) _checkTarget(to, mode);
  if (!isKnown || !S_ISREG(source.st_mode)) throw QVREAccessDenied(onlyFiles, kSource, __LINE__);
}

void QVROSPath::_checkTargetDirectory(const std::string& directory) {
  if (_getAccess(directory, kWriting)) return;
  if (!_getAccess(directory, kExistence)) {
    throw QVREDoesNotExist(u"Destionation directory does not exist", kSource, __LINE__);
  }
  throw QVREAccessDenied(u"Permission denied, can not write to destination directory", kSource,
                         __LINE__);
}

void QVROSPath::_checkTarget(const std::string& path, createMode mode) {
  if (mode == FAIL_IF_EXISTS) {
    if (!_getAccess(path, kExistence)) return;
    throw QVREAlreadyExists(u"Destination file already exists", kSource, __LINE__);
  }
  if (!_getAccess(path, kWriting) && _getAccess(path, kExistence)) {
    throw QVREAccessDenied(u"Permission denied, can not write to destination file", kSource,
                           __LINE__);
  }
}

void QVROSPath::_expandEnvVars(std::string& path) const { _expandNTEnvVars(path); }

void QVROSPath::_expandNTEnvVars(std::string& path) const {
  std::size_t begin = path.find(kReferenceSign);
  std::size_t end = nextReferenceSign(path, begin);
  if (end == kNone) return;
  // A value of HOME that holds pairs itself would be expanded without end.
  auto pairs = std::count(path.begin(), path.end(), kReferenceSign) / 2;
  while (end != kNone) {
    if (path.find(kBackslash, begin) < end) {
      begin = end;
    } else if (pairs-- > 0) {
      path.replace(begin, end - begin + 1, home());
      begin = path.find(kReferenceSign, end + 1);
    } else {
      return;
    }
    end = nextReferenceSign(path, begin);
  }
}

void QVROSPath::_expandUNIXEnvVars(std::string& path) const {
  const std::string value = home();
  std::size_t begin = path.find(kUnixReferenceSign);
  while (begin != kNone) {
    std::size_t end = std::min(path.find(kBackslash, begin), path.size());
    if (end - begin > 1) {
      path.replace(begin, end - begin, value);
      end = begin + value.size();
    }
    if (end + 1 >= path.size()) return;
    begin = path.find(kUnixReferenceSign, end);
  }
}
