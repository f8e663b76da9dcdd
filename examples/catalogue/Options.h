// The command line of the catalogue program.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "CataloguePlugin.h"

namespace catalogue {

enum class Format { Text, Csv, Json };

struct Options {
  Format format = Format::Text;
  std::string directory = ".";
  int threads = 1;
  /// Of the contents; null if they are not to be read.
  const CatalogueChecksum* checksum = nullptr;
  std::string output;  ///< the file for the report; empty for standard output
  bool help = false;
};

/// @param arguments those of the program, its own name not among them.
/// @return options whose directory and checksum are there, unless help is asked for; as many
///   threads as the machine has processors where none are given.
/// @throws QVREInvalidArgument, QVREDoesNotExist, QVREAccessDenied and what findChecksum() throws,
///   with a text of one line for the user.
Options readOptions(const std::vector<std::string>& arguments);

void writeHelp(std::ostream& out);

}  // namespace catalogue
