#include "Checksum.h"

namespace catalogue {

Checksum::Checksum(const CatalogueChecksum& method) : method_(&method), state_(method.stateSize) {
  method_->begin(state_.data());
}

void Checksum::add(std::string_view bytes) {
  method_->update(state_.data(), bytes.data(), bytes.size());
}

void Checksum::addZeros(std::uint64_t count) { method_->addZeros(state_.data(), count); }

void Checksum::append(const Checksum& next) { method_->combine(state_.data(), next.state_.data()); }

std::string Checksum::toString() const {
  constexpr char kDigits[] = "0123456789abcdef";
  std::vector<unsigned char> digest(method_->digestSize);
  method_->end(state_.data(), digest.data());
  std::string digits;
  for (const unsigned char byte : digest) {
    digits += kDigits[byte >> 4];
    digits += kDigits[byte & 0xF];
  }
  return digits;
}

}  // namespace catalogue
