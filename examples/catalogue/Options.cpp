#include "Options.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <filesystem>
#include <ostream>
#include <string_view>
#include <system_error>

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

constexpr std::string_view kFormatOption = "--format=";
constexpr std::string_view kThreadsOption = "--threads=";
constexpr int kMostThreads = 1024;

constexpr char kHelp[] =
    "Usage: catalogue [OPTION...] [DIRECTORY]\n"
    "Walks the tree of DIRECTORY, or of the current directory, and reports what it found.\n"
    "\n"
    "  --format=FORMAT  report as text (if not given), csv or json\n"
    "  --checksum       read the files, too: the CRC-32 of the contents of all, and of each of\n"
    "                   the largest\n"
    "  --threads=N      walk with so many threads, 1 to 1024; with one for each processor if\n"
    "                   not given\n"
    "  --help           print this help and do nothing else\n"
    "  --               what follows is no option\n"
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

void readOption(std::string_view option, Options& options) {
  if (option == "--help") {
    options.help = true;
  } else if (option.starts_with(kFormatOption)) {
    options.format = formatNamed(option.substr(kFormatOption.size()));
  } else if (option.starts_with(kThreadsOption)) {
    options.threads = threadCount(option.substr(kThreadsOption.size()));
  } else if (option == "--checksum") {
    options.checksum = true;
  } else {
    refuse<QVREInvalidArgument>(u"unknown option '%1': --help lists them", option, __LINE__);
  }
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

}  // namespace

Options readOptions(const std::vector<std::string>& arguments) {
  const QVRTraceCall trace(QVRSystemTrace, "catalogue: options");
  Options options;
  options.threads = threadCountOfMachine();
  bool mayBeOption = true;
  bool hasDirectory = false;
  for (const std::string& argument : arguments) {
    if (mayBeOption && argument == "--") {
      mayBeOption = false;
    } else if (mayBeOption && looksLikeOption(argument)) {
      readOption(argument, options);
    } else if (hasDirectory) {
      refuse<QVREInvalidArgument>(u"'%1' is one directory too many", argument, __LINE__);
    } else {
      options.directory = argument;
      hasDirectory = true;
    }
  }
  if (!options.help) requireDirectory(options.directory);
  return options;
}

void writeHelp(std::ostream& out) { out << kHelp; }

}  // namespace catalogue
