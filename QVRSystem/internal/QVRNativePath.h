// Path texts on their way to the system.
#pragma once

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <string>

namespace qvr {

constexpr std::size_t kBlockSize = 16;  // of a vector register

template <std::size_t kSize, class Map>
void mapBlock(const char* from, char* to, Map map) {
  char block[kSize];
  std::memcpy(block, from, kSize);
  for (char& c : block) c = map(c);
  std::memcpy(to, block, kSize);
}

/// Writes the text with every character mapped, over itself too: what is mapped
/// stays so. The last block overlaps the one before rather than going byte by
/// byte; reading from where nothing was written just before, no load waits for
/// two stores.
template <class Map>
void mapText(const char* from, std::size_t size, char* to, Map map) {
  constexpr std::size_t kHalf = kBlockSize / 2;
  if (size >= kBlockSize) {
    const std::size_t last = size - kBlockSize;
    for (std::size_t i = 0; i < last; i += kBlockSize) mapBlock<kBlockSize>(from + i, to + i, map);
    mapBlock<kBlockSize>(from + last, to + last, map);
  } else if (size >= kHalf) {
    mapBlock<kHalf>(from, to, map);
    mapBlock<kHalf>(from + size - kHalf, to + size - kHalf, map);
  } else {
    std::transform(from, from + size, to, map);
  }
}

/// Writes a path as the system takes it, with forward slashes; over itself too.
/// @return the end of what was written.
inline char* writeNative(const std::string& path, char* to) {
  mapText(path.data(), path.size(), to, [](char c) { return c == '\\' ? '/' : c; });
  return to + path.size();
}

/// Calls a function of the platform with the path as the system takes it. A text with a
/// zero byte, of which the system would see only a part, names nothing.
/// @return what the function returns, or ENOENT.
template <class Call>
int withNativePath(std::string path, Call call) {
  if (path.find('\0') != std::string::npos) return ENOENT;
  writeNative(path, path.data());
  return call(path.c_str());
}

}  // namespace qvr
