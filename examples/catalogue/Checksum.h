// The checksum of contents.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "CataloguePlugin.h"

namespace catalogue {

/// The checksum of a run of bytes, as a plug-in computes it.
class Checksum {
 public:
  /// Of no bytes. @param method outlives this.
  explicit Checksum(const CatalogueChecksum& method);

  void add(std::string_view bytes);

  /// Whether zeros cost less than being read.
  bool hasQuickZeros() const { return method_->addZeros != nullptr; }
  /// Only where they are quick.
  void addZeros(std::uint64_t count);

  /// Adds the bytes that the other, of the same method, has been given. Only where the method
  /// combines checksums.
  void append(const Checksum& next);

  /// Two hexadecimal digits for each byte.
  std::string toString() const;

 private:
  const CatalogueChecksum* method_;
  std::vector<std::byte> state_;
};

}  // namespace catalogue
