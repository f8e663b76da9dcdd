#include "Catalogue.h"

#include <cxxabi.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
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

bool isAmong(const std::vector<LargeFile>& largest, const std::string& path, std::uint64_t bytes) {
  if (largest.size() < kLargestCount) return true;
  const LargeFile& last = largest.back();
  return std::tie(last.bytes, path) < std::tie(bytes, last.path);
}

void add(LargeFile file, std::vector<LargeFile>& largest) {
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

void Catalogue::addFile(const std::string& path, std::uint64_t bytes, const QVRSysDate& modified) {
  totals.bytes += bytes;
  FilesAndBytes& year =
      byYear[modified.isValid() ? std::optional(modified.getYear()) : std::nullopt];
  ++year.files;
  year.bytes += bytes;

  if (isAmong(largest, path, bytes)) add({path, bytes, modified}, largest);
}

void Catalogue::addUnreadable(const std::string& path, const std::exception& failure) {
  unreadable.push_back({path, classNameOf(failure), failure.what(), whereOf(failure)});
}

void Catalogue::sortUnreadable() {
  std::stable_sort(unreadable.begin(), unreadable.end(),
                   [](const Unreadable& a, const Unreadable& b) { return a.path < b.path; });
}

}  // namespace catalogue
