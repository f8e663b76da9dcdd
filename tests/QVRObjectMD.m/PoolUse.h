// What the process-wide pool has handed out.
#pragma once

#include <cstddef>
#include <sstream>
#include <string>

#include "QVRPoolAllocator.h"

/// Blocks in use in the bucket of that block size; its dump is the witness.
inline long blocksInUse(std::size_t blockSize) {
  std::ostringstream dump;
  QVRPoolAllocator::Global().dump(dump);
  std::istringstream lines(dump.str());
  const std::string wanted = " : Size = " + std::to_string(blockSize) + ",";
  long used = 0;
  bool isWanted = false;
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("Block ")) isWanted = line.find(wanted) != std::string::npos;
    const auto at = line.find("Used = ");
    if (isWanted && at != std::string::npos) used += std::stol(line.substr(at + 7));
  }
  return used;
}
