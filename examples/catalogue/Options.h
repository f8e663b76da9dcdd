// The command line of the catalogue program.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace catalogue {

enum class Format { Text, Csv, Json };

struct Options {
  Format format = Format::Text;
  std::string directory = ".";
  int threads = 1;
  bool checksum = false;
  bool help = false;
};

/// @param arguments those of the program, its own name not among them.
/// @return options whose directory is there, unless help is asked for; as many threads as the
///   machine has processors where none are given.
/// @throws QVREInvalidArgument, QVREDoesNotExist, QVREAccessDenied with a text
///   of one line for the user.
Options readOptions(const std::vector<std::string>& arguments);

void writeHelp(std::ostream& out);

}  // namespace catalogue
