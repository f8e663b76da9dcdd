// What is in a file.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "Checksum.h"

namespace catalogue {

/// Is told of every piece that has been dealt with. @return whether to go on.
using PieceDone = std::function<bool(std::uint64_t bytes)>;

/// Adds to checksums the first `size` bytes of a regular file, or as many as it has by now; all up
/// to the piece after which it was not to go on. Takes little memory, reads no holes whose zeros
/// are quick to add, and waits for nobody where something else has taken the place of the file
/// meanwhile.
///
/// @throws QVREAccessDenied, QVREIOError; some bytes may have been added before.
void addContent(const std::string& path, std::uint64_t size, std::span<Checksum* const> checksums,
                const PieceDone& done);

}  // namespace catalogue
