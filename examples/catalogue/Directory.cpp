#include "Directory.h"

#include <algorithm>
#include <utility>

namespace catalogue {
namespace {

// Enough that handing them out costs little beside reading them.
constexpr std::size_t kFilesPerPortion = 16;

void append(std::optional<Checksum>& total, std::optional<Checksum>& part) {
  if (!part) return;
  if (total) {
    total->append(*part);
  } else {
    total = std::move(part);
  }
}

}  // namespace

Directory::Directory(std::string prefix, std::vector<Entry> entries,
                     QVRCountedPointer<Directory> parent, std::optional<Checksum>& total)
    : prefix_(std::move(prefix)),
      entries_(std::move(entries)),
      parent_(std::move(parent)),
      total_(total) {
  std::sort(entries_.begin(), entries_.end(),
            [](const Entry& a, const Entry& b) { return a.name < b.name; });
}

Directory::~Directory() {
  for (Entry& entry : entries_) append(total_, entry.checksum);
}

std::string Directory::pathOf(const Entry& entry) const {
  std::string path = prefix_ + entry.name;
  if (entry.isDirectory()) path.pop_back();
  return path;
}

std::span<Entry> Directory::takePortion() {
  const auto first = entries_.begin() + static_cast<std::ptrdiff_t>(handedOut_);
  const auto left = static_cast<std::size_t>(entries_.end() - first);
  const auto last = first + static_cast<std::ptrdiff_t>(std::min(left, kFilesPerPortion));
  const auto directory = std::find_if(first, last, [](const Entry& e) { return e.isDirectory(); });
  const std::size_t count = directory == first ? 1 : static_cast<std::size_t>(directory - first);
  handedOut_ += count;
  return {first, count};
}

}  // namespace catalogue
