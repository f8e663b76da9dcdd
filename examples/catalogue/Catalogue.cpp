#include "Catalogue.h"

#include <cxxabi.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <tuple>
#include <typeinfo>
#include <utility>

#include "QVRException.h"

namespace catalogue {
namespace {

constexpr std::size_t kLargestCount = 10;

bool comesBefore(const LargeFile& a, const LargeFile& b) {
  return std::tie(b.bytes, a.path) < std::tie(a.bytes, b.path);
}

bool belongsTo(const std::vector<LargeFile>& largest, const LargeFile& file) {
  return largest.size() < kLargestCount || comesBefore(file, largest.back());
}

void addTo(std::vector<LargeFile>& largest, LargeFile file) {
  if (!belongsTo(largest, file)) return;
  const auto place = std::upper_bound(largest.begin(), largest.end(), file, comesBefore);
  largest.insert(place, std::move(file));
  if (largest.size() > kLargestCount) largest.pop_back();
}

std::string classNameOf(const std::exception& failure) {
  const char* mangled = typeid(failure).name();
  const std::unique_ptr<char, decltype(&std::free)> name(
      abi::__cxa_demangle(mangled, nullptr, nullptr, nullptr), &std::free);
  return name ? name.get() : mangled;
}

std::string whereOf(const std::exception& failure) {
  const auto* located = dynamic_cast<const QVRException*>(&failure);
  return located ? located->where() : "";
}

}  // namespace

void Catalogue::addFile(LargeFile file) {
  totals.bytes += file.bytes;
  const QVRSysDate& date = file.modified;
  FilesAndBytes& year = byYear[date.isValid() ? std::optional(date.getYear()) : std::nullopt];
  ++year.files;
  year.bytes += file.bytes;
  addTo(largest, std::move(file));
}

void Catalogue::addUnreadable(const std::string& path, const std::exception& failure) {
  unreadable.push_back({path, classNameOf(failure), failure.what(), whereOf(failure)});
}

bool Catalogue::isLarge(const LargeFile& file) const { return belongsTo(largest, file); }

void Catalogue::add(Catalogue other) {
  totals.directories += other.totals.directories;
  totals.regularFiles += other.totals.regularFiles;
  totals.otherEntries += other.totals.otherEntries;
  totals.bytes += other.totals.bytes;
  for (const auto& [year, of] : other.byYear) {
    byYear[year].files += of.files;
    byYear[year].bytes += of.bytes;
  }
  for (LargeFile& file : other.largest) addTo(largest, std::move(file));
  std::move(other.unreadable.begin(), other.unreadable.end(), std::back_inserter(unreadable));
}

void Catalogue::sortUnreadable() { std::sort(unreadable.begin(), unreadable.end()); }

}  // namespace catalogue
