// Checksums of plug-ins, in tests.
#pragma once

#include <cstddef>
#include <filesystem>
#include <random>
#include <string>
#include <string_view>

#include "Checksum.h"
#include "Plugins.h"

/// A folder from that of this test program on: a copy of the build folder has all that it takes.
inline std::string folderFromHere(const char* way) {
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
  return (program.parent_path() / way).lexically_normal().string();
}

/// Where the plug-ins are that the program brings with it.
inline std::string builtPlugins() { return folderFromHere("../../examples/plugins"); }

inline const CatalogueChecksum& builtChecksum(const std::string& name) {
  return catalogue::findChecksum(name, QVROSSearchPath(builtPlugins(), ';'));
}

inline std::string checksumOf(const CatalogueChecksum& method, std::string_view bytes) {
  catalogue::Checksum checksum(method);
  checksum.add(bytes);
  return checksum.toString();
}

inline std::string randomBytes(std::size_t count) {
  std::mt19937 random(20261121);
  std::string bytes(count, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  return bytes;
}
