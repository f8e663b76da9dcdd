// Where a report goes.
#pragma once

#include <string>

#include "QVROSRegularFile.h"

namespace catalogue {

/// A file, or standard output.
class Output {
 public:
  /// Opens the file and empties it, as a shell does before it runs a program.
  /// @param file empty for standard output.
  /// @throws QVREWriteFault with a text of one line for the user.
  explicit Output(std::string file);

  /// Writes a whole report, once.
  /// @throws QVREWriteFault likewise; some of it may have been written.
  void write(const std::string& report);

 private:
  bool writeToFile(const std::string& report);

  const std::string name_;
  QVROSRegularFile file_;
};

}  // namespace catalogue
