// Where a catalogue was made.
#pragma once

#include <cstdint>
#include <string>

namespace catalogue {

struct Machine {
  std::string host;
  std::string user;
  std::uint64_t processors = 0;
  std::string release;  ///< of its system
};

/// The one that the program runs on.
Machine thisMachine();

}  // namespace catalogue
