#include "QVROSRegularFile.h"

#include "QVREOpenFailed.h"
#include "QVRSystem/internal/QVRNativePath.h"
#include "QVRSystem/platform/QVRPlatformFile.h"

namespace {

using qvr::withNativePath;

constexpr char kSource[] = "QVRSystem/QVRFileUtilsMD.m/src/QVROSRegularFile";
constexpr int kExistence = 0;

/// Not QVROSPath::exists(), which would expand the text once more.
bool exists(const std::string& path) {
  return withNativePath(path, [](const char* text) {
           return qvr::platform::checkAccess(text, kExistence);
         }) == 0;
}

}  // namespace

QVROSRegularFile::QVROSRegularFile() = default;

QVROSRegularFile::QVROSRegularFile(const QVROSPath& path, int mode) : mode_(mode), path_(path) {
  _open();
}

QVROSRegularFile::~QVROSRegularFile() = default;

void QVROSRegularFile::open(const QVROSPath& path, int mode) {
  close();
  path_ = path;
  mode_ = mode;
  _open();
}

void QVROSRegularFile::close() { buffer_.close(); }

bool QVROSRegularFile::isOpen() const { return buffer_.is_open(); }

std::filebuf* QVROSRegularFile::getBuffer() { return &buffer_; }

QVROSRegularFile::operator std::streambuf*() { return &buffer_; }

QVROSPath QVROSRegularFile::getPath() const { return path_; }

bool QVROSRegularFile::operator==(const QVROSRegularFile& other) const {
  return path_ == other.path_;
}

bool QVROSRegularFile::operator!=(const QVROSRegularFile& other) const {
  return path_ != other.path_;
}

bool QVROSRegularFile::operator<(const QVROSRegularFile& other) const {
  return path_ != other.path_;
}

void QVROSRegularFile::_open() {
  const std::string path = path_.getExpandedPath();
  if (!exists(QVROSPath(path).dirname())) {
    throw QVREOpenFailed(u"The directory for the file does not exist", kSource, __LINE__);
  }
  try {
    withNativePath(path, [this](const char* text) {
      buffer_.open(text, static_cast<std::ios_base::openmode>(mode_));
      return 0;
    });
  } catch (...) {
    // A buffer without memory for its characters keeps the file open.
    buffer_.close();
    throw;
  }
  if (!buffer_.is_open()) {
    throw QVREOpenFailed(u"Failed to open stream buffer for file", kSource, __LINE__);
  }
}
