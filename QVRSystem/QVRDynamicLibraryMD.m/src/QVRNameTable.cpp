#include "QVRNameTable.h"

#include <algorithm>
#include <utility>

#include "QVRCountedObject.h"

namespace qvr::internal {

NamedEntry::NamedEntry(const std::string& itsName, QVRCountedObject& itsBody)
    : name(itsName), hash(NameTable::hash(itsName)), body(itsBody) {}

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
