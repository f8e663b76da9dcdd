#include "Walk.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

#include "DirectoryListing.h"
#include "Progress.h"
#include "QVREAccessDenied.h"
#include "QVREIOError.h"
#include "QVREInvalidName.h"
#include "QVROSDirectory.h"
#include "QVROSDirectoryIterator.h"
#include "QVROSPath.h"
#include "QVRStopwatch.h"
#include "QVRTraceCall.h"
#include "QVRTraceLog.h"
#include "QVRTypes.h"

namespace catalogue {
namespace {

namespace fs = std::filesystem;

constexpr char kSource[] = "examples/catalogue/Walk";

/// The local day of a time; invalid where no date can hold it.
QVRSysDate dateOf(fs::file_time_type time) {
  using std::chrono::nanoseconds;
  // The file clock counts from a day in 2174, whence the time of a file before
  // 1882 has wrapped around. Adding the epoch with wrap-around takes it back.
  const auto epoch = std::chrono::file_clock::to_sys(fs::file_time_type{}).time_since_epoch();
  const auto sum = static_cast<std::uint64_t>(nanoseconds(time.time_since_epoch()).count()) +
                   static_cast<std::uint64_t>(nanoseconds(epoch).count());
  const nanoseconds sinceEpoch(static_cast<std::int64_t>(sum));
  QVRSysDate date;
  date.setCTime(std::int64_t{std::chrono::floor<std::chrono::seconds>(sinceEpoch).count()});
  return date;
}

class Walk {
 public:
  Walk(const std::string& directory, Progress& progress)
      : directory_(directory), progress_(progress) {}

  Catalogue run();

 private:
  struct Level {
    std::string prefix;  // of the texts of its entries
    DirectoryListing listing;
  };

  void walkTree();
  void visit(QVROSDirectoryIterator& entry);
  void leaveLevels(const std::string& text);
  void descend(QVROSDirectoryIterator& entry, const QVROSPath& directory);
  void openLevel(const QVROSPath& directory, DirectoryListing listing);
  void count(Kind kind);
  void readFile(const std::string& path);
  void addUnreadable(const std::string& path, const wchar16* text, const std::error_code& failure);
  void addUnnameable(const std::string& path);

  const std::string directory_;
  Progress& progress_;
  Catalogue catalogue_;
  std::vector<Level> levels_;  // the root's first
};

Catalogue Walk::run() {
  QVRStopwatch watch;
  watch.start();
  count(Kind::Directory);
  if (isNameable(directory_)) {
    walkTree();
  } else {
    addUnnameable(directory_);
  }
  catalogue_.sortUnreadable();
  watch.stop();
  catalogue_.elapsedSeconds = watch.read();
  return std::move(catalogue_);
}

void Walk::walkTree() {
  const QVROSPath root(directory_);
  try {
    const QVROSDirectoryIterator end = QVROSDirectory(root).end();
    DirectoryListing listing(root.getUNIXPath());
    QVROSDirectoryIterator entry(root, QVROSDirectoryIterator::RECURSIVE);
    openLevel(root, std::move(listing));
    while (entry != end) visit(entry);
  } catch (const QVRException& failure) {
    catalogue_.addUnreadable(root.getUNIXPath(), failure);
  }
}

void Walk::visit(QVROSDirectoryIterator& entry) {
  const QVROSPath path = *entry;
  const std::string text = path.getPath();
  leaveLevels(text);
  Level& level = levels_.back();
  // Nothing: "." and "..", names that no path can name, which openLevel() has
  // dealt with, and what has come into being since.
  const std::optional<Kind> kind = level.listing.take(text.substr(level.prefix.size()));
  if (kind) count(*kind);
  // Reading what is unknown tells why.
  if (kind == Kind::RegularFile || kind == Kind::Unknown) readFile(path.getUNIXPath());
  if (kind == Kind::Directory) {
    descend(entry, path);
  } else {
    entry.skip();
  }
}

void Walk::leaveLevels(const std::string& text) {
  while (levels_.size() > 1 && !text.starts_with(levels_.back().prefix)) levels_.pop_back();
}

void Walk::descend(QVROSDirectoryIterator& entry, const QVROSPath& directory) {
  // Before it is entered: the last descriptor serves both, one after the other.
  DirectoryListing listing(directory.getUNIXPath());
  try {
    entry++;
  } catch (const QVRException& failure) {
    catalogue_.addUnreadable(directory.getUNIXPath(), failure);
    entry.skip();
    return;
  }
  openLevel(directory, std::move(listing));
}

void Walk::openLevel(const QVROSPath& directory, DirectoryListing listing) {
  QVROSPath withDelimiter = directory;
  withDelimiter.appendPath("");
  if (listing.failure()) {
    addUnreadable(directory.getUNIXPath(), u"Cannot list the directory: %1", listing.failure());
  }
  for (const auto& [name, kind] : listing.unnameable()) {
    count(kind);
    addUnnameable(withDelimiter.getUNIXPath() + name);
  }
  levels_.push_back({withDelimiter.getPath(), std::move(listing)});
}

void Walk::count(Kind kind) {
  Totals& totals = catalogue_.totals;
  switch (kind) {
    case Kind::Directory:
      ++totals.directories;
      break;
    case Kind::RegularFile:
      ++totals.regularFiles;
      break;
    case Kind::Other:
    case Kind::Unknown:
      ++totals.otherEntries;
      break;
  }
  progress_.step();
}

void Walk::readFile(const std::string& path) {
  const fs::path file(path);
  std::error_code failure;
  const std::uintmax_t bytes = fs::file_size(file, failure);
  if (failure) return addUnreadable(path, u"Cannot read the size of the file: %1", failure);
  const fs::file_time_type time = fs::last_write_time(file, failure);
  if (failure == std::errc::value_too_large) return catalogue_.addFile(path, bytes, QVRSysDate());
  if (failure) return addUnreadable(path, u"Cannot read the time of the file: %1", failure);
  catalogue_.addFile(path, bytes, dateOf(time));
}

void Walk::addUnreadable(const std::string& path, const wchar16* text,
                         const std::error_code& failure) {
  if (failure == std::errc::permission_denied) {
    QVREAccessDenied denied(text, kSource, __LINE__);
    denied << failure.message();
    catalogue_.addUnreadable(path, denied);
  } else {
    QVREIOError error(text, kSource, __LINE__);
    error << failure.message();
    catalogue_.addUnreadable(path, error);
  }
}

void Walk::addUnnameable(const std::string& path) {
  catalogue_.addUnreadable(
      path, QVREInvalidName(u"A name with a backslash or a pair of percent signs is no path",
                            kSource, __LINE__));
}

}  // namespace

Catalogue walk(const std::string& directory, Progress& progress) {
  const QVRTraceCall trace(QVRSystemTrace, "catalogue: walk");
  return Walk(directory, progress).run();
}

}  // namespace catalogue
