#include "DirectoryListing.h"

#include <filesystem>
#include <utility>

namespace catalogue {
namespace {

namespace fs = std::filesystem;

Kind kindOf(const fs::directory_entry& entry) {
  std::error_code refused;
  if (entry.is_symlink(refused)) return Kind::Other;
  if (refused) return Kind::Unknown;
  if (entry.is_directory(refused)) return Kind::Directory;
  if (entry.is_regular_file(refused)) return Kind::RegularFile;
  return Kind::Other;
}

std::string nameOf(const fs::directory_entry& entry) {
  const std::string& path = entry.path().native();
  return path.substr(path.rfind('/') + 1);
}

bool hasPercentPair(std::string_view path) {
  const auto first = path.find('%');
  if (first == path.npos) return false;
  const auto next = path.find_first_of("%/", first + 1);
  if (next == path.npos) return false;
  return path[next] == '%' || hasPercentPair(path.substr(next));
}

}  // namespace

bool isNameable(std::string_view path) {
  return path.find('\\') == path.npos && !hasPercentPair(path);
}

DirectoryListing::DirectoryListing(const std::string& directory) {
  const fs::directory_iterator end;
  for (fs::directory_iterator entry(directory, failure_); !failure_ && entry != end;
       entry.increment(failure_)) {
    add(nameOf(*entry), kindOf(*entry));
  }
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
