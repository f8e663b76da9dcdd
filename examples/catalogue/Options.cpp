#include "Options.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <ostream>
#include <string_view>
#include <system_error>
#include <utility>

#include "DirectoryListing.h"
#include "Plugins.h"
#include "Printable.h"
#include "QVREAccessDenied.h"
#include "QVREDoesNotExist.h"
#include "QVREInvalidArgument.h"
#include "QVRSystemInfo.h"
#include "QVRTraceCall.h"
#include "QVRTraceLog.h"
#include "QVRTypes.h"

namespace catalogue {
namespace {

namespace fs = std::filesystem;

constexpr char kSource[] = "examples/catalogue/Options";

constexpr int kMostThreads = 1024;
constexpr char kUsualChecksum[] = "crc32";

constexpr char kHelp[] =
    "Usage: catalogue [OPTION...] [DIRECTORY]\n"
    "Walks the tree of DIRECTORY, or of the current directory, and reports what it found.\n"
    "\n"
    "  --format=FORMAT    report as text (if not given), csv or json\n"
    "  --checksum[=NAME]  read the files, too: the checksum of the contents of all, and of each\n"
    "                     of the largest; crc32 (if not given), sha256 or that of a plug-in\n"
    "  --output=FILE      write the report to this file rather than to standard output\n"
    "  --plugins=FOLDERS  look for plug-ins in these folders, separated by ';', first\n"
    "  --threads=N        walk with so many threads, 1 to 1024; with one for each processor if\n"
    "                     not given\n"
    "  --help             print this help and do nothing else\n"
    "  --                 what follows is no option\n"
    "\n"
    "Exit status: 0 if all could be read, 1 if some entries could not, 2 for wrong use,\n"
    "3 if the report could not be made or written, 130 if interrupted: the report has what was\n"
    "found up to then.\n";

template <class Failure>
[[noreturn]] void refuse(const wchar16* text, std::string_view subject, int line) {
  Failure failure(text, kSource, line);
  failure << printableInLocale(subject);
  throw failure;
}

Format formatNamed(std::string_view name) {
  if (name == "text") return Format::Text;
  if (name == "csv") return Format::Csv;
  if (name == "json") return Format::Json;
  refuse<QVREInvalidArgument>(u"unknown format '%1': it is text, csv or json", name, __LINE__);
}

int threadCount(std::string_view number) {
  int count = 0;
  const auto [end, failure] = std::from_chars(number.begin(), number.end(), count);
  const bool isNumber = failure == std::errc() && end == number.end();
  if (isNumber && count >= 1 && count <= kMostThreads) return count;
  refuse<QVREInvalidArgument>(u"'%1' is no number of threads: that is from 1 to 1024", number,
                              __LINE__);
}

int threadCountOfMachine() {
  return static_cast<int>(
      std::clamp<std::uint64_t>(QVRSystemInfo::GetProcessorCount(), 1, kMostThreads));
}

std::string outputNamed(const std::string& file) {
  if (!file.empty() && isNameable(file)) return file;
  refuse<QVREInvalidArgument>(u"'%1' is no name for the report's file", file, __LINE__);
}

/// What stands behind the equals sign of the option that has this beginning.
std::optional<std::string> valueOf(std::string_view option, std::string_view beginning) {
  if (!option.starts_with(beginning)) return std::nullopt;
  return std::string(option.substr(beginning.size()));
}

bool looksLikeOption(std::string_view argument) {
  return argument.size() > 1 && argument.front() == '-';
}

void requireDirectory(const std::string& path) {
  std::error_code failure;
  const fs::file_status status = fs::status(path, failure);
  if (status.type() == fs::file_type::not_found) {
    refuse<QVREDoesNotExist>(u"there is no directory '%1'", path, __LINE__);
  }
  if (failure) refuse<QVREAccessDenied>(u"'%1' cannot be looked at", path, __LINE__);
  if (!fs::is_directory(status)) {
    refuse<QVREInvalidArgument>(u"'%1' is not a directory", path, __LINE__);
  }
}

/// Takes one argument after the other.
class Reader {
 public:
  Reader() { options_.threads = threadCountOfMachine(); }

  void read(const std::string& argument);

  /// Those that have been read; what they name is there.
  Options options() &&;

 private:
  void readOption(std::string_view option);
  void readDirectory(const std::string& path);

  Options options_;
  std::optional<std::string> checksum_;
  std::string plugins_;
  bool mayBeOption_ = true;
  bool hasDirectory_ = false;
};

void Reader::read(const std::string& argument) {
  if (mayBeOption_ && argument == "--") {
    mayBeOption_ = false;
  } else if (mayBeOption_ && looksLikeOption(argument)) {
    readOption(argument);
  } else {
    readDirectory(argument);
  }
}

void Reader::readOption(std::string_view option) {
  if (option == "--help") {
    options_.help = true;
  } else if (const auto format = valueOf(option, "--format=")) {
    options_.format = formatNamed(*format);
  } else if (option == "--checksum") {
    checksum_ = kUsualChecksum;
  } else if (const auto name = valueOf(option, "--checksum=")) {
    checksum_ = name;
  } else if (const auto file = valueOf(option, "--output=")) {
    options_.output = outputNamed(*file);
  } else if (const auto folders = valueOf(option, "--plugins=")) {
    plugins_ = *folders;
  } else if (const auto number = valueOf(option, "--threads=")) {
    options_.threads = threadCount(*number);
  } else {
    refuse<QVREInvalidArgument>(u"unknown option '%1': --help lists them", option, __LINE__);
  }
}

void Reader::readDirectory(const std::string& path) {
  if (hasDirectory_) {
    refuse<QVREInvalidArgument>(u"'%1' is one directory too many", path, __LINE__);
  }
  options_.directory = path;
  hasDirectory_ = true;
}

Options Reader::options() && {
  if (options_.help) return std::move(options_);
  requireDirectory(options_.directory);
  if (checksum_) options_.checksum = &findChecksum(*checksum_, pluginDirectories(plugins_));
  return std::move(options_);
}

}  // namespace

Options readOptions(const std::vector<std::string>& arguments) {
  const QVRTraceCall trace(QVRSystemTrace, "catalogue: options");
  Reader reader;
  for (const std::string& argument : arguments) reader.read(argument);
  return std::move(reader).options();
}

void writeHelp(std::ostream& out) { out << kHelp; }

}  // namespace catalogue
