// What tests write into a block to see whether it stays theirs.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

/// The ends of a block are enough where it is a large one.
constexpr std::size_t kStampedEnd = 48;

inline unsigned char stampOf(const unsigned char* block) {
  const auto address = reinterpret_cast<std::uintptr_t>(block);
  return static_cast<unsigned char>((address * 0x9E3779B97F4A7C15) >> 56);
}

/// Fills a block with what only its address tells.
inline void stamp(unsigned char* block, std::size_t size) {
  const std::size_t end = std::min(size, kStampedEnd);
  std::fill(block, block + end, stampOf(block));
  std::fill(block + size - end, block + size, stampOf(block));
}

/// Whether nobody else has written into it.
inline bool bearsStamp(const unsigned char* block, std::size_t size) {
  const auto isStamp = [block](unsigned char byte) { return byte == stampOf(block); };
  const std::size_t end = std::min(size, kStampedEnd);
  return std::all_of(block, block + end, isStamp) &&
         std::all_of(block + size - end, block + size, isStamp);
}
