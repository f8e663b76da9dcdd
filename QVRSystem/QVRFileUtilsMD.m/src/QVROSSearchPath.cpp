#include "QVROSSearchPath.h"

#include <algorithm>
#include <utility>

#include "QVRSystem/internal/QVRNativePath.h"
#include "QVRSystem/platform/QVRPlatformFile.h"

namespace {

constexpr char kSeparator = ';';
constexpr int kExistence = 0;

QVROSPath joined(const QVROSPath& directory, const std::string& name) {
  QVROSPath path(directory.getExpandedPath());
  path.appendPath(name);
  return path;
}

/// Whether there is nothing to expand in a path of which the text is a part, and
/// nothing that the system would not see.
bool isPlain(const std::string& text) {
  return !text.empty() && text.find('%') == std::string::npos &&
         text.find('\0') == std::string::npos;
}

/// What is joined to a directory behind a separator.
std::string withoutSeparator(const std::string& name) {
  const bool begins = !name.empty() && (name.front() == '\\' || name.front() == '/');
  return begins ? name.substr(1) : name;
}

/// As joined(directory, name).exists() of plain texts, the name without its separator.
/// @param native keeps its memory from one call to the next.
bool exists(const std::string& directory, const std::string& name, std::string& native) {
  const std::size_t separators = directory.back() == '\\' ? 0 : 1;
  native.resize(directory.size() + separators + name.size());
  char* const end = qvr::writeNative(directory, native.data());
  if (separators == 1) *end = '/';
  qvr::writeNative(name, end + separators);
  return qvr::platform::checkAccess(native.c_str(), kExistence) == 0;
}

}  // namespace

QVROSSearchPath::QVROSSearchPath(unsigned char delimiter) : delimiter_(delimiter) {}

QVROSSearchPath::QVROSSearchPath(const std::string& list, unsigned char delimiter)
    : delimiter_(delimiter), entries_(_convertPath(list)) {}

QVROSSearchPath::QVROSSearchPath(const QVROSSearchPath& other) = default;

QVROSSearchPath::~QVROSSearchPath() = default;

QVROSSearchPath& QVROSSearchPath::operator=(const QVROSSearchPath& other) {
  if (*this == other) return *this;
  entries_ = std::list<QVROSPath>(other.entries_);
  delimiter_ = other.delimiter_;
  return *this;
}

QVROSSearchPath& QVROSSearchPath::operator=(const std::string& list) {
  entries_ = _convertPath(list);
  return *this;
}

QVROSSearchPath& QVROSSearchPath::operator+=(const QVROSSearchPath& other) {
  _pushBack(other.entries_);
  return *this;
}

QVROSSearchPath& QVROSSearchPath::operator+=(const std::string& list) {
  pushBack(list);
  return *this;
}

void QVROSSearchPath::pushFront(const std::string& list) { _pushFront(_convertPath(list)); }

void QVROSSearchPath::pushBack(const std::string& list) { _pushBack(_convertPath(list)); }

void QVROSSearchPath::insertPath(const iterator& position, const std::string& list) {
  std::list<QVROSPath> paths = _convertPath(list);
  iterator place = position;
  for (iterator entry = entries_.begin(); entry != entries_.end();) {
    const bool isAdded = std::find(paths.begin(), paths.end(), *entry) != paths.end();
    const iterator next = std::next(entry);
    if (isAdded && entry == place) place = next;
    if (isAdded) entries_.erase(entry);
    entry = next;
  }
  entries_.splice(place, paths);
}

void QVROSSearchPath::removePath(const iterator& position) { entries_.erase(position); }

void QVROSSearchPath::removePath(const std::string& list) {
  for (const QVROSPath& path : _convertPath(list)) {
    const iterator found = findPath(path);
    if (found != end()) entries_.erase(found);
  }
}

void QVROSSearchPath::clear() { entries_.clear(); }

QVROSSearchPath::iterator QVROSSearchPath::findPath(const QVROSPath& path) {
  return std::find(begin(), end(), path);
}

QVROSSearchPath::const_iterator QVROSSearchPath::findPath(const QVROSPath& path) const {
  return std::find(begin(), end(), path);
}

bool QVROSSearchPath::findFile(const QVROSPath& file, QVROSPath& result) const {
  const std::string name = file.getExpandedPath();
  const bool isPlainName = isPlain(name);
  const std::string bareName = withoutSeparator(name);
  std::string native;
  for (const QVROSPath& entry : entries_) {
    const bool isFound = isPlainName && isPlain(entry.path_) ? exists(entry.path_, bareName, native)
                                                             : joined(entry, name).exists();
    if (isFound) {
      result = joined(entry, name);
      return true;
    }
  }
  result = file;
  return false;
}

std::string QVROSSearchPath::getPathList() const {
  std::string list;
  for (const QVROSPath& entry : entries_) {
    list += entry.getPath();
    list += static_cast<char>(delimiter_);
  }
  return list;
}

void QVROSSearchPath::setDelimiter(unsigned char delimiter) { delimiter_ = delimiter; }

QVROSSearchPath::iterator QVROSSearchPath::begin() { return entries_.begin(); }

QVROSSearchPath::iterator QVROSSearchPath::end() { return entries_.end(); }

QVROSSearchPath::const_iterator QVROSSearchPath::begin() const { return entries_.begin(); }

QVROSSearchPath::const_iterator QVROSSearchPath::end() const { return entries_.end(); }

bool QVROSSearchPath::operator==(const QVROSSearchPath& other) const {
  return delimiter_ == other.delimiter_ && entries_ == other.entries_;
}

bool QVROSSearchPath::operator!=(const QVROSSearchPath& other) const { return !(*this == other); }

std::list<QVROSPath> QVROSSearchPath::_convertPath(const std::string& list) {
  std::list<QVROSPath> paths;
  for (std::size_t begin = 0; begin < list.size();) {
    const std::size_t end = std::min(list.find(kSeparator, begin), list.size());
    if (end != begin) paths.emplace_back(list.substr(begin, end - begin));
    begin = end + 1;
  }
  return paths;
}

// Each one moves, node and all, behind what was removed before it: nothing can fail.
void QVROSSearchPath::_pushFront(std::list<QVROSPath> paths) {
  while (!paths.empty()) {
    entries_.remove(paths.back());
    entries_.splice(entries_.begin(), paths, std::prev(paths.end()));
  }
}

void QVROSSearchPath::_pushBack(std::list<QVROSPath> paths) {
  while (!paths.empty()) {
    entries_.remove(paths.front());
    entries_.splice(entries_.end(), paths, paths.begin());
  }
}
