// The table of a checksum that is a C++ class.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <string_view>
#include <type_traits>

#include "CataloguePlugin.h"

namespace catalogue {

/// @tparam Checksum made of no bytes; has `add(bytes)` and `digest()`, and may have `append(next)`
///   and `addZeros(count)`. digest() gives an array of bytes.
template <class Checksum>
constexpr CatalogueChecksum checksumTable(const char* name) {
  static_assert(std::is_trivially_copyable_v<Checksum>, "states are copied byte by byte");
  static_assert(alignof(Checksum) <= alignof(std::max_align_t));
  using Digest = decltype(Checksum().digest());

  CatalogueChecksum table{};
  table.version = CATALOGUE_PLUGIN_VERSION;
  table.name = name;
  table.digestSize = sizeof(Digest);
  table.stateSize = sizeof(Checksum);
  table.begin = [](void* state) { new (state) Checksum; };
  table.update = [](void* state, const void* bytes, std::size_t size) {
    static_cast<Checksum*>(state)->add({static_cast<const char*>(bytes), size});
  };
  table.end = [](const void* state, unsigned char* digest) {
    const Digest bytes = static_cast<const Checksum*>(state)->digest();
    std::memcpy(digest, bytes.data(), sizeof bytes);
  };
  if constexpr (requires(Checksum sum) { sum.append(sum); }) {
    table.combine = [](void* state, const void* next) {
      static_cast<Checksum*>(state)->append(*static_cast<const Checksum*>(next));
    };
  }
  if constexpr (requires(Checksum sum) { sum.addZeros(std::uint64_t{}); }) {
    table.addZeros = [](void* state, std::uint64_t count) {
      static_cast<Checksum*>(state)->addZeros(count);
    };
  }
  return table;
}

}  // namespace catalogue
