#include "Walk.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "Crew.h"
#include "Directory.h"
#include "DirectoryListing.h"
#include "FileContent.h"
#include "Interruption.h"
#include "Options.h"
#include "Progress.h"
#include "QVREInvalidName.h"
#include "QVROSDirectory.h"
#include "QVROSDirectoryIterator.h"
#include "QVROSPath.h"
#include "QVRStopwatch.h"
#include "QVRSysFastMutexLock.h"
#include "QVRThreadAnnotations.h"
#include "QVRTraceCall.h"
#include "QVRTraceLog.h"
#include "SystemFailure.h"

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

std::uint64_t readSize(const fs::path& file) {
  std::error_code failure;
  const std::uintmax_t bytes = fs::file_size(file, failure);
  if (!failure) return bytes;
  throwSystemFailure(u"Cannot read the size of the file: %1", failure, kSource, __LINE__);
}

QVRSysDate readDate(const fs::path& file) {
  std::error_code failure;
  const fs::file_time_type time = fs::last_write_time(file, failure);
  if (!failure) return dateOf(time);
  if (failure == std::errc::value_too_large) return {};
  throwSystemFailure(u"Cannot read the time of the file: %1", failure, kSource, __LINE__);
}

void count(Kind kind, Totals& totals) {
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
}

void addUnnameable(const std::string& path, Catalogue& found) {
  found.addUnreadable(
      path, QVREInvalidName(u"A name with a backslash or a pair of percent signs is no path",
                            kSource, __LINE__));
}

/// Whether contents may be read in any order and put together.
bool hasParts(const CatalogueChecksum& checksum) { return checksum.combine != nullptr; }

/// One alone reads the tree in the order of the paths.
int threadsFor(const Options& options) {
  return options.checksum && !hasParts(*options.checksum) ? 1 : options.threads;
}

/// Workers read portions of the tree, each into a catalogue of its own, which then becomes part
/// of that of the whole.
class Walk {
 public:
  Walk(const Options& options, Progress& progress, const Interruption& interruption)
      : options_(options), progress_(progress), interruption_(interruption) {
    if (options.checksum) total_.emplace(*options.checksum);
  }

  Catalogue run();

 private:
  void readRoot();
  void readPortion(const Portion& portion);
  void readDirectory(const std::string& path, QVRCountedPointer<Directory> parent,
                     std::optional<Checksum>& total, Catalogue& found);
  void takeEntry(std::string name, DirectoryListing& listing, std::vector<Entry>& entries,
                 Catalogue& found);
  void readFile(const std::string& path, std::optional<Checksum>& part, Catalogue& found);
  void readPart(LargeFile& file, std::optional<Checksum>& part, Catalogue& found);
  void readNext(LargeFile& file, Catalogue& found);
  bool readContent(const LargeFile& file, std::span<Checksum* const> checksums, Catalogue& found);
  bool isLarge(const LargeFile& file);
  void add(Catalogue found);

  const Options& options_;
  Progress& progress_;
  const Interruption& interruption_;
  std::optional<Checksum> total_;  // the crew's until it has done
  QVRSysFastMutexLock lock_;
  Catalogue catalogue_ QVR_GUARDED_BY(lock_);
  Crew crew_{threadsFor(options_), [this](const Portion& portion) { readPortion(portion); },
             interruption_};
};

Catalogue Walk::run() {
  readRoot();
  crew_.wait();
  const QVRSysFastMutexLock::LockGuard guard(lock_);
  catalogue_.sortUnreadable();
  catalogue_.isInterrupted = interruption_.isRequested();
  if (options_.checksum && !catalogue_.isInterrupted) catalogue_.checksum = std::move(total_);
  return std::move(catalogue_);
}

void Walk::readRoot() {
  Catalogue found;
  count(Kind::Directory, found.totals);
  if (isNameable(options_.directory)) {
    const std::string path = QVROSPath(options_.directory).getUNIXPath();
    try {
      readDirectory(path, nullptr, total_, found);
    } catch (const QVRException& failure) {
      found.addUnreadable(path, failure);
    }
  } else {
    addUnnameable(options_.directory, found);
  }
  add(std::move(found));
}

void Walk::readPortion(const Portion& portion) {
  Catalogue found;
  for (Entry& entry : portion.entries) {
    if (interruption_.isRequested()) break;
    const std::string path = portion.directory->pathOf(entry);
    try {
      if (entry.isDirectory()) {
        readDirectory(path, portion.directory, entry.checksum, found);
      } else {
        readFile(path, entry.checksum, found);
      }
    } catch (const QVRException& failure) {
      found.addUnreadable(path, failure);
    }
  }
  add(std::move(found));
}

void Walk::readDirectory(const std::string& path, QVRCountedPointer<Directory> parent,
                         std::optional<Checksum>& total, Catalogue& found) {
  const QVROSPath directory(path);
  QVROSPath withDelimiter = directory;
  withDelimiter.appendPath("");
  const std::string prefix = withDelimiter.getUNIXPath();

  DirectoryListing listing(path);
  QVROSDirectoryIterator entry = QVROSDirectory(directory).begin();
  for (const auto& [name, kind] : listing.unnameable()) {
    count(kind, found.totals);
    addUnnameable(prefix + name, found);
  }
  std::vector<Entry> entries;
  do {
    takeEntry(entry.getCurrentFile().getPath().substr(prefix.size()), listing, entries, found);
  } while (entry++ && !interruption_.isRequested());
  crew_.add(new Directory(prefix, std::move(entries), std::move(parent), total));
  if (!listing.failure()) return;
  throwSystemFailure(u"Cannot list the directory: %1", listing.failure(), kSource, __LINE__);
}

/// Keeps an entry that is there to be read; others are only counted.
void Walk::takeEntry(std::string name, DirectoryListing& listing, std::vector<Entry>& entries,
                     Catalogue& found) {
  // Nothing: "." and "..", names that no path can name, which have been dealt with, and what
  // has come into being since.
  const std::optional<Kind> kind = listing.take(name);
  if (!kind) return;
  count(*kind, found.totals);
  if (*kind == Kind::Other) return;
  if (*kind == Kind::Directory) name += '/';
  entries.push_back({std::move(name), {}});
}

void Walk::readFile(const std::string& path, std::optional<Checksum>& part, Catalogue& found) {
  LargeFile file{path, readSize(path), readDate(path), std::nullopt};
  if (options_.checksum && hasParts(*options_.checksum)) {
    readPart(file, part, found);
  } else if (options_.checksum) {
    readNext(file, found);
  }
  found.addFile(std::move(file));
}

void Walk::readPart(LargeFile& file, std::optional<Checksum>& part, Catalogue& found) {
  Checksum checksum(*options_.checksum);
  Checksum* const own[] = {&checksum};
  if (readContent(file, own, found)) part = file.checksum = std::move(checksum);
}

/// Reads the content behind that of all before, and for a checksum of its own, too, where
/// reports may need that.
void Walk::readNext(LargeFile& file, Catalogue& found) {
  Checksum total = *total_;
  Checksum checksum(*options_.checksum);
  Checksum* const both[] = {&total, &checksum};
  const bool large = isLarge(file);
  if (!readContent(file, std::span(both).first(large ? 2 : 1), found)) return;
  total_ = std::move(total);
  if (large) file.checksum = std::move(checksum);
}

/// @return whether all of it has been added.
bool Walk::readContent(const LargeFile& file, std::span<Checksum* const> checksums,
                       Catalogue& found) {
  if (file.bytes == 0) return true;
  const auto pieceDone = [this](std::uint64_t bytes) {
    progress_.addBytes(bytes);
    return !interruption_.isRequested();
  };
  try {
    addContent(file.path, file.bytes, checksums, pieceDone);
    return !interruption_.isRequested();
  } catch (const QVRException& failure) {
    found.addUnreadable(file.path, failure);
    return false;
  }
}

bool Walk::isLarge(const LargeFile& file) {
  const QVRSysFastMutexLock::LockGuard guard(lock_);
  return catalogue_.isLarge(file);
}

void Walk::add(Catalogue found) {
  const Totals& totals = found.totals;
  progress_.addEntries(totals.directories + totals.regularFiles + totals.otherEntries);
  const QVRSysFastMutexLock::LockGuard guard(lock_);
  catalogue_.add(std::move(found));
}

}  // namespace

Catalogue walk(const Options& options, Progress& progress, const Interruption& interruption) {
  const QVRTraceCall trace(QVRSystemTrace, "catalogue: walk");
  QVRStopwatch watch;
  watch.start();
  Catalogue catalogue = Walk(options, progress, interruption).run();
  catalogue.elapsedSeconds = watch.read();
  catalogue.run.generate();
  return catalogue;
}

}  // namespace catalogue
