// Where virtual operations stand in their tables.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

/// Where a virtual operation stands in the table; a destructor takes two places. A pointer
/// to it is the offset, and one more where a bit tells it from the address of a function.
template <class Operation>
std::size_t slotOf(Operation operation) {
  std::array<std::uintptr_t, 2> words;
  static_assert(sizeof words == sizeof operation);
  std::memcpy(words.data(), &operation, sizeof operation);
  return words[0] / sizeof(void*);
}
