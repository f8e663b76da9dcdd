// What a table of bodies, by name, consists of.
//
// Public only because objects that contain one are of a size that callers need to know:
// nothing here is for them.
#pragma once

#include <cstddef>
#include <string>

class QVRCountedObject;

namespace qvr::internal {

/// The name of a body, and its place in a `qvr::internal::NameTable`, which alone reads and
/// writes the rest.
struct NamedEntry {
  NamedEntry(const std::string& itsName, QVRCountedObject& itsBody);

  NamedEntry(const NamedEntry&) = delete;
  NamedEntry& operator=(const NamedEntry&) = delete;

  static constexpr std::size_t kChildren = 4;

  const std::string name;
  const std::size_t hash;
  QVRCountedObject& body;
  NamedEntry* children[kChildren] = {};
};

}  // namespace qvr::internal
