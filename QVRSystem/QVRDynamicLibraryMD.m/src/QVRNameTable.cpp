#include "QVRNameTable.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <utility>

#include "QVRCountedObject.h"

namespace qvr::internal {

NamedEntry::NamedEntry(const std::string& itsName, QVRCountedObject& itsBody)
    : name(itsName), hash(NameTable::hash(itsName)), body(itsBody) {}

std::size_t NameTable::hash(const std::string& name) noexcept {
  return std::hash<std::string>()(name);
}

bool NameTable::share(NamedEntry* root, const std::string& name, std::size_t hash,
                      QVRCountedBase& handle) noexcept {
  const NamedEntry* const found = *find(root, name, hash);
  return found != nullptr && handle.share(found->body);
}

void NameTable::enter(NamedEntry*& root, NamedEntry& entry) noexcept {
  NamedEntry** const place = find(root, entry.name, entry.hash);
  if (*place != nullptr) replace(**place, entry);
  *place = &entry;
}

void NameTable::remove(NamedEntry*& root, const NamedEntry& entry) noexcept {
  NamedEntry** const place = find(root, entry.name, entry.hash);
  NamedEntry* const removed = *place;
  if (removed == nullptr) return;
  // A leaf below it has the bits of the place too.
  NamedEntry* const leaf = std::exchange(*findLeaf(place), nullptr);
  if (leaf == removed) return;
  replace(*removed, *leaf);
  *place = leaf;
}

bool NameTable::has(NamedEntry* root, const NamedEntry& entry) noexcept {
  return *find(root, entry.name, entry.hash) == &entry;
}

// The place of the name, or where it belongs.
NamedEntry** NameTable::find(NamedEntry*& root, const std::string& name,
                             std::size_t hash) noexcept {
  constexpr int kShift = std::numeric_limits<std::size_t>::digits - kBitsPerLevel;
  NamedEntry** place = &root;
  for (std::size_t rest = hash; *place != nullptr; rest <<= kBitsPerLevel) {
    NamedEntry& entry = **place;
    if (entry.hash == hash && entry.name == name) break;
    place = &entry.children[rest >> kShift];
  }
  return place;
}

NamedEntry** NameTable::findLeaf(NamedEntry** place) noexcept {
  const auto isThere = [](const NamedEntry* child) { return child != nullptr; };
  for (;;) {
    auto& children = (*place)->children;
    NamedEntry** const child = std::find_if(std::begin(children), std::end(children), isThere);
    if (child == std::end(children)) return place;
    place = child;
  }
}

// Leaves the entry without children, as one that is in no table.
void NameTable::replace(NamedEntry& entry, NamedEntry& by) noexcept {
  if (&entry != &by) std::swap(entry.children, by.children);
}

}  // namespace qvr::internal
