#include "QVROSDirectoryIterator.h"

#include <climits>
#include <cstring>
#include <cuchar>
#include <string_view>
#include <utility>

#include "QVREOpenFailed.h"
#include "QVRSystem/internal/QVRNativePath.h"
#include "QVRSystem/platform/QVRPlatformDirectory.h"

namespace {

constexpr char kSource[] = "QVRSystem/QVRFileUtilsMD.m/src/QVROSDirectoryIterator";
constexpr char kBackslash = '\\';

bool isDots(const char* name) {
  return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

/// Adds the separator that entries' names follow.
void endWithSeparator(std::string& path) {
  if (path.back() != kBackslash) path += kBackslash;
}

}  // namespace

/// One open directory and its current entry.
struct QVROSDirectoryIterator::Level {
  ~Level() {
    if (reader.descriptor != -1) qvr::platform::closeDirectory(reader);
  }

  /// Opens a directory at its first entry.
  bool open(const std::string& path) {
    const auto openNative = [&](const char* text) {
      return qvr::platform::openDirectory(text, reader);
    };
    return qvr::withNativePath(path, openNative) == 0 && advance();
  }

  bool advance() { return qvr::platform::nextEntry(reader, entry) == 0; }

  /// Whether the type that came with the entry's name is that of what its path
  /// names: a path follows links, expands what stands between percent signs, and
  /// takes a backslash for a separator.
  bool knowsType() const {
    return entry.type != qvr::EntryType::kUnknown && entry.type != qvr::EntryType::kLink &&
           !hasPercent && std::strchr(entry.name, '%') == nullptr &&
           std::strchr(entry.name, kBackslash) == nullptr;
  }

  qvr::DirectoryReader reader;
  qvr::DirectoryEntry entry;
  std::size_t pathLength = 0;  // of its path, which prefix_ begins with
  bool hasPercent = false;     // that path
};

QVROSDirectoryIterator::QVROSDirectoryIterator() = default;

QVROSDirectoryIterator::QVROSDirectoryIterator(iteratorMode mode) : mode_(mode) {}

QVROSDirectoryIterator::QVROSDirectoryIterator(const QVROSPath& root, iteratorMode mode)
    : root_(root), initialised_(true), mode_(mode) {
  _openDir(root.getExpandedPath());
}

QVROSDirectoryIterator::QVROSDirectoryIterator(const QVROSDirectoryIterator& other)
    : root_(other.root_),
      atEnd_(other.atEnd_),
      initialised_(other.initialised_),
      mode_(other.mode_) {
  _assignValues(other);
}

QVROSDirectoryIterator& QVROSDirectoryIterator::operator=(const QVROSDirectoryIterator& other) {
  try {
    if (_compare(other)) return *this;
    initialised_ = other.initialised_;
    root_ = other.root_;
    atEnd_ = other.atEnd_;
    _assignValues(other);
  } catch (...) {
    closeAll();
    initialised_ = true;
    atEnd_ = false;
    throw;
  }
  return *this;
}

QVROSDirectoryIterator::~QVROSDirectoryIterator() = default;

bool QVROSDirectoryIterator::operator++(int) {
  return mode_ == RECURSIVE ? _advanceRecursivePointer() : _advancePointer();
}

bool QVROSDirectoryIterator::skip() {
  return mode_ == RECURSIVE ? canAdvanceRecursive() && passEntry() : _advancePointer();
}

QVROSPath QVROSDirectoryIterator::operator*() const { return getCurrentFile(); }

QVROSPath QVROSDirectoryIterator::getCurrentFile() const {
  QVROSPath path("");
  if (initialised_ && !atEnd_ && !levels_.empty()) path.path_ = entryPath();
  return path;
}

bool QVROSDirectoryIterator::setToEnd() {
  if (!initialised_) return false;
  closeAll();
  atEnd_ = true;
  return true;
}

bool QVROSDirectoryIterator::operator==(const QVROSDirectoryIterator& other) const {
  return _compare(other);
}

bool QVROSDirectoryIterator::operator!=(const QVROSDirectoryIterator& other) const {
  return !_compare(other);
}

/// Enters what `name`, an expanded text, names: the current entry or, where no
/// level is open, the root. Changes nothing where that fails.
void QVROSDirectoryIterator::_openDir(const std::string& name) {
  auto level = std::make_unique_for_overwrite<Level>();
  if (!level->open(name)) {
    throw QVREOpenFailed(u"Error encountered while opening first file in directory", kSource,
                         __LINE__);
  }
  std::string path = levels_.empty() ? QVROSPath(name).getPath() : entryPath();
  level->pathLength = path.size();
  level->hasPercent = path.find('%') != path.npos;
  endWithSeparator(path);
  levels_.push_back(std::move(level));
  prefix_ = std::move(path);
}

/// Closes the innermost level. @return whether one is left.
bool QVROSDirectoryIterator::_closeDir() {
  if (!initialised_ || levels_.empty()) return false;
  levels_.pop_back();
  if (levels_.empty()) return false;
  prefix_.resize(levels_.back()->pathLength);
  endWithSeparator(prefix_);
  return true;
}

bool QVROSDirectoryIterator::_advancePointer() {
  if (!initialised_) {
    throw QVREOpenFailed(u"Trying to advance uninitialized iterator", kSource, __LINE__);
  }
  if (atEnd_) return false;
  if (_advanceCurrentDir()) return true;
  closeAll();
  return false;
}

/// The next entry of the innermost level; at its end, sets atEnd_ and leaves the
/// level open.
bool QVROSDirectoryIterator::_advanceCurrentDir() {
  atEnd_ = !innermost().advance();
  return !atEnd_;
}

bool QVROSDirectoryIterator::_advanceRecursivePointer() {
  if (!canAdvanceRecursive()) return false;
  if (!isToBeEntered()) return passEntry();
  _openDir(getCurrentFile().getExpandedPath());
  return true;
}

bool QVROSDirectoryIterator::_compare(const QVROSDirectoryIterator& other) const {
  if (!initialised_ || !other.initialised_) return initialised_ == other.initialised_;
  if (root_ != other.root_) return false;
  if (atEnd_ || other.atEnd_) return atEnd_ == other.atEnd_;
  return getCurrentFile() == other.getCurrentFile();
}

/// Takes the position of `source`, whose flags this iterator has already.
void QVROSDirectoryIterator::_assignValues(const QVROSDirectoryIterator& source) {
  closeAll();
  if (!source.initialised_ || source.atEnd_) return;
  for (const auto& level : source.levels_) {
    _openDir(levels_.empty() ? source.prefix_.substr(0, level->pathLength)
                             : getCurrentFile().getExpandedPath());
    stepTo(level->entry.name);
  }
}

/// Narrows in the current locale, to as many bytes as `from` has code units: what
/// does not fit is cut off, what is missing or cannot be narrowed is zero.
void QVROSDirectoryIterator::_convertWstringToString(std::string& to,
                                                     const std::u16string& from) const {
  std::string narrow;
  std::mbstate_t state{};
  char bytes[MB_LEN_MAX];
  for (const wchar16 unit : from) {
    const std::size_t count = std::c16rtomb(bytes, unit, &state);
    constexpr auto kFailed = static_cast<std::size_t>(-1);
    if (unit == 0 || count == kFailed || narrow.size() + count > from.size() + 1) break;
    narrow.append(bytes, count);
  }
  narrow.resize(from.size());
  to = std::move(narrow);
}

bool QVROSDirectoryIterator::canAdvanceRecursive() const {
  if (!initialised_) {
    throw QVREOpenFailed(u"Trying to advance uninitalized iterator", kSource, __LINE__);
  }
  return !atEnd_;
}

QVROSDirectoryIterator::Level& QVROSDirectoryIterator::innermost() const {
  if (levels_.empty()) throw QVREOpenFailed(u"No valid directory pointer", kSource, __LINE__);
  return *levels_.back();
}

/// The path text of the current entry.
std::string QVROSDirectoryIterator::entryPath() const {
  std::string_view name = levels_.back()->entry.name;
  if (name.front() == kBackslash) name.remove_prefix(1);  // prefix_ ends with a separator
  std::string path;
  path.reserve(prefix_.size() + name.size());
  path.append(prefix_).append(name);
  return path;
}

/// Whether a recursive walk goes on within the current entry.
bool QVROSDirectoryIterator::isToBeEntered() const {
  const Level& level = innermost();
  if (isDots(level.entry.name)) return false;
  if (level.knowsType()) return level.entry.type != qvr::EntryType::kRegular;
  const QVROSPath path = getCurrentFile();
  return !isDots(path.basename().c_str()) && !path.isRegularFile();
}

/// Goes on behind the current entry, in its directory or in those above.
bool QVROSDirectoryIterator::passEntry() {
  while (!_advanceCurrentDir()) {
    if (!_closeDir()) return false;
    atEnd_ = false;
  }
  return true;
}

void QVROSDirectoryIterator::stepTo(const char* name) {
  while (std::strcmp(innermost().entry.name, name) != 0) {
    if (_advanceCurrentDir()) continue;
    throw QVREOpenFailed(u"Failed to copy data from one interator to another.", kSource, __LINE__);
  }
}

void QVROSDirectoryIterator::closeAll() noexcept { levels_.clear(); }
