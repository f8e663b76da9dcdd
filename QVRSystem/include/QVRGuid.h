// The plain form of an identifier, as interfaces pass it on.
#pragma once

#include <cstdint>

/// The 128 bits of an identifier, in the four fields of its text form.
struct QVRGuid {
  std::uint32_t Data1;
  std::uint16_t Data2;
  std::uint16_t Data3;
  std::uint8_t Data4[8];
};
