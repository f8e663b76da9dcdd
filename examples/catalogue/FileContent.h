// What is in a file.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "Checksum.h"

namespace catalogue {

/// Is told of every piece that has been dealt with. @return whether to go on.
using PieceDone = std::function<bool(std::uint64_t bytes)>;

/// The checksum of the first `size` bytes of a regular file, or of as many as it has by now; of
/// all up to the piece after which it was not to go on. Takes little memory, reads no
/// holes, and waits for nobody where something else has taken the place of the file meanwhile.
///
/// @throws QVREAccessDenied, QVREIOError
Checksum checksumOfFile(const std::string& path, std::uint64_t size, const PieceDone& done);

}  // namespace catalogue
