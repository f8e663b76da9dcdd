#include "QVROSDirectory.h"

#include "QVREAccessDenied.h"
#include "QVREDoesNotExist.h"
#include "QVRSystem/internal/QVRNativePath.h"
#include "QVRSystem/platform/QVRPlatformDirectory.h"

namespace {

constexpr char kSource[] = "QVRSystem/QVRFileUtilsMD.m/src/QVROSDirectory";

}  // namespace

QVROSDirectory::QVROSDirectory(const QVROSPath& path) : path_(path) {}

QVROSDirectory::~QVROSDirectory() = default;

void QVROSDirectory::setPath(const QVROSPath& path) { path_ = path; }

const QVROSPath& QVROSDirectory::getPath() const { return path_; }

std::uint64_t QVROSDirectory::freeSpace() const {
  if (!path_.exists()) {
    throw QVREDoesNotExist(u"Can not get free space of directory that does not exist", kSource,
                           __LINE__);
  }
  std::uint64_t bytes = 0;
  const auto ask = [&](const char* path) { return qvr::platform::freeSpace(path, bytes); };
  if (qvr::withNativePath(path_.getExpandedPath(), ask) != 0) {
    throw QVREAccessDenied(u"Failed to get freespace", kSource, __LINE__);
  }
  return bytes;
}

bool QVROSDirectory::empty() const {
  QVROSDirectoryIterator entry = begin();
  int count = 1;
  while (count < 3 && entry++) ++count;
  return count < 3;
}

QVROSDirectoryIterator QVROSDirectory::begin() const {
  return QVROSDirectoryIterator(path_, QVROSDirectoryIterator::FLAT);
}

QVROSDirectoryIterator QVROSDirectory::end() const {
  QVROSDirectoryIterator iterator = begin();
  iterator.setToEnd();
  return iterator;
}

bool QVROSDirectory::operator==(const QVROSDirectory& other) const { return path_ == other.path_; }

bool QVROSDirectory::operator!=(const QVROSDirectory& other) const { return !(*this == other); }
