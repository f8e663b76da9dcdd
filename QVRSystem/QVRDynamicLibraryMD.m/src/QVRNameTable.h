// Bodies, found by name.
#pragma once

#include <cstddef>
#include <functional>
#include <limits>
#include <string>

#include "QVRCountedBase.h"
#include "QVRNamedEntry.h"

namespace qvr::internal {

/// Operations on a table of bodies, which is a pointer to its root; null where it is empty.
///
/// The table is a tree whose nodes are in the bodies, so that nothing here needs memory or
/// fails. From level to level two more bits of a name's hash say in which of four subtrees it
/// is, whatever the name on the way.
///
/// Whoever calls holds the lock of the table; so does the destructor of a body when it removes
/// its entry.
class NameTable {
 public:
  /// Of a name, for the operations below.
  static std::size_t hash(const std::string& name) noexcept;

  /// Has an empty handle share the body of that name.
  /// @return whether there is one, and somebody held it.
  static bool share(NamedEntry* root, const std::string& name, std::size_t hash,
                    QVRCountedBase& handle) noexcept;

  /// Enters the body under its name, in the place of another one of that name.
  static void enter(NamedEntry*& root, NamedEntry& entry) noexcept;

  /// Removes the body of the entry's name, whichever it is.
  static void remove(NamedEntry*& root, const NamedEntry& entry) noexcept;

  /// Whether it is this body that has the entry's name.
  static bool has(NamedEntry* root, const NamedEntry& entry) noexcept;

 private:
  static constexpr int kBitsPerLevel = 2;
  static_assert(NamedEntry::kChildren == 1u << kBitsPerLevel);

  static NamedEntry** find(NamedEntry*& root, const std::string& name, std::size_t hash) noexcept;
  static NamedEntry** findLeaf(NamedEntry** place) noexcept;
  static void replace(NamedEntry& entry, NamedEntry& by) noexcept;
};

inline std::size_t NameTable::hash(const std::string& name) noexcept {
  return std::hash<std::string>()(name);
}

inline bool NameTable::share(NamedEntry* root, const std::string& name, std::size_t hash,
                             QVRCountedBase& handle) noexcept {
  const NamedEntry* const found = *find(root, name, hash);
  return found != nullptr && handle.share(found->body);
}

// The place of the name, or where it belongs.
inline NamedEntry** NameTable::find(NamedEntry*& root, const std::string& name,
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

}  // namespace qvr::internal
