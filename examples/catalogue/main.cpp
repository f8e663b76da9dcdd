// Catalogues a directory tree. --help says how it is used.
#include <sys/resource.h>

#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

#include "Catalogue.h"
#include "Options.h"
#include "Progress.h"
#include "QVREWriteFault.h"
#include "QVRTraceCall.h"
#include "QVRTraceLog.h"
#include "Report.h"
#include "Walk.h"

namespace {

using namespace catalogue;

constexpr char kSource[] = "examples/catalogue/main";

enum ExitStatus { kAllRead = 0, kSomeUnreadable = 1, kWrongUse = 2, kFailed = 3 };

/// Without TZ, the C library asks for the status of this file at every conversion
/// of a time.
void keepTimeZone() {
  constexpr int kKeepOther = 0;
  setenv("TZ", ":/etc/localtime", kKeepOther);
}

/// A walk holds one directory open per level.
void raiseDescriptorLimit() {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  limit.rlim_cur = limit.rlim_max;
  // Where this is refused, the walk meets the old limit and reports what it
  // could not open.
  setrlimit(RLIMIT_NOFILE, &limit);
}

/// Writes all at once: nothing comes out before all is known.
void print(const std::string& text) {
  errno = 0;
  if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0) {
    return;
  }
  const std::error_code reason(errno, std::generic_category());
  QVREWriteFault fault(u"the report cannot be written: %1", kSource, __LINE__);
  fault << reason.message();
  throw fault;
}

Catalogue catalogueTree(const std::string& directory) {
  Progress progress;
  return walk(directory, progress);
}

ExitStatus report(const Options& options) {
  std::ostringstream out;
  if (options.help) {
    writeHelp(out);
    print(out.str());
    return kAllRead;
  }
  const Catalogue catalogue = catalogueTree(options.directory);
  writeReport(catalogue, options.format, out);
  print(out.str());
  return catalogue.unreadable.empty() ? kAllRead : kSomeUnreadable;
}

ExitStatus fail(const std::exception& failure, ExitStatus status) {
  std::cerr << std::string("catalogue: ") + failure.what() + '\n';
  return status;
}

ExitStatus run(const std::vector<std::string>& arguments) {
  Options options;
  try {
    options = readOptions(arguments);
  } catch (const QVRException& wrongUse) {
    return fail(wrongUse, kWrongUse);
  }
  return report(options);
}

}  // namespace

int main(int argc, char** argv) {
  // Arguments and messages are in the user's encoding.
  std::setlocale(LC_CTYPE, "");
  keepTimeZone();
  raiseDescriptorLimit();
  try {
    const QVRTraceCall trace(QVRSystemTrace, "catalogue");
    return run({argv + (argc > 0 ? 1 : 0), argv + argc});
  } catch (const std::exception& failure) {
    return fail(failure, kFailed);
  }
}
