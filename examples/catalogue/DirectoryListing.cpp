#include "DirectoryListing.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <memory>
#include <utility>

namespace catalogue {
namespace {

struct Closing {
  void operator()(DIR* directory) const { closedir(directory); }
};

// Not std::filesystem's iterator, which ends the program where it gets no memory.
using OpenDirectory = std::unique_ptr<DIR, Closing>;

std::error_code lastError() { return {errno, std::generic_category()}; }

Kind kindOfMode(mode_t mode) {
  if (S_ISDIR(mode)) return Kind::Directory;
  return S_ISREG(mode) ? Kind::RegularFile : Kind::Other;
}

Kind kindOf(const dirent& entry, DIR* directory) {
  if (entry.d_type != DT_UNKNOWN) return kindOfMode(static_cast<mode_t>(DTTOIF(entry.d_type)));
  struct stat status {};
  const bool isTold = fstatat(dirfd(directory), entry.d_name, &status, AT_SYMLINK_NOFOLLOW) == 0;
  return isTold ? kindOfMode(status.st_mode) : Kind::Unknown;
}

bool isDots(std::string_view name) { return name == "." || name == ".."; }

bool hasPercentPair(std::string_view path) {
  for (auto sign = path.find('%'); sign != path.npos;) {
    const auto next = path.find_first_of("%/", sign + 1);
    if (next == path.npos) return false;
    if (path[next] == '%') return true;
    sign = path.find('%', next);
  }
  return false;
}

}  // namespace

bool isNameable(std::string_view path) {
  return path.find('\\') == path.npos && !hasPercentPair(path);
}

DirectoryListing::DirectoryListing(const std::string& path) {
  const OpenDirectory directory(opendir(path.c_str()));
  if (!directory) {
    failure_ = lastError();
    return;
  }
  while (const dirent* const entry = (errno = 0, readdir(directory.get()))) {
    if (!isDots(entry->d_name)) add(entry->d_name, kindOf(*entry, directory.get()));
  }
  failure_ = lastError();
}

std::optional<Kind> DirectoryListing::take(const std::string& name) {
  const auto node = kinds_.extract(name);
  if (!node) return std::nullopt;
  return node.mapped();
}

void DirectoryListing::add(std::string name, Kind kind) {
  if (isNameable(name)) {
    kinds_.emplace(std::move(name), kind);
  } else {
    unnameable_.push_back({std::move(name), kind});
  }
}

}  // namespace catalogue
