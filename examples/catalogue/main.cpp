// Catalogues a directory tree. --help says how it is used.
#include <sys/resource.h>

#include <algorithm>
#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "Catalogue.h"
#include "Interruption.h"
#include "Machine.h"
#include "Options.h"
#include "Output.h"
#include "Progress.h"
#include "QVRException.h"
#include "QVRTraceCall.h"
#include "QVRTraceLog.h"
#include "Report.h"
#include "Walk.h"

namespace {

using namespace catalogue;

enum ExitStatus {
  kAllRead = 0,
  kSomeUnreadable = 1,
  kWrongUse = 2,
  kFailed = 3,
  kInterrupted = 130
};

/// Without TZ, the C library asks for the status of this file at every conversion
/// of a time.
void keepTimeZone() {
  constexpr int kKeepOther = 0;
  setenv("TZ", ":/etc/localtime", kKeepOther);
}

/// Raises the soft limit of open descriptors to the hard one. Where that is refused, the old one
/// has to do.
/// @return the limit.
std::uint64_t raiseDescriptorLimit() {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return 0;
  const rlimit raised{limit.rlim_max, limit.rlim_max};
  return setrlimit(RLIMIT_NOFILE, &raised) == 0 ? raised.rlim_cur : limit.rlim_cur;
}

/// As many threads as there are descriptors for: each has one file or directory open at a time.
int affordableThreads(int wanted) {
  constexpr std::uint64_t kOtherDescriptors = 7;
  const std::uint64_t limit = raiseDescriptorLimit();
  const std::uint64_t left = limit - std::min(limit, kOtherDescriptors);
  return static_cast<int>(std::clamp<std::uint64_t>(left, 1, static_cast<std::uint64_t>(wanted)));
}

Catalogue catalogueTree(const Options& options, const Interruption& interruption) {
  Progress progress;
  return walk(options, progress, interruption);
}

ExitStatus statusFor(const Catalogue& catalogue, const Interruption& interruption) {
  if (interruption.isRequested()) return kInterrupted;
  return catalogue.unreadable.empty() ? kAllRead : kSomeUnreadable;
}

ExitStatus help() {
  std::ostringstream out;
  writeHelp(out);
  Output("").write(out.str());
  return kAllRead;
}

/// The report comes out when all of it is known.
ExitStatus report(const Options& options, const Interruption& interruption) {
  Output output(options.output);
  const Catalogue catalogue = catalogueTree(options, interruption);
  std::ostringstream out;
  writeReport(thisMachine(), catalogue, options, out);
  output.write(out.str());
  return statusFor(catalogue, interruption);
}

ExitStatus fail(const std::exception& failure, ExitStatus status) {
  std::cerr << std::string("catalogue: ") + failure.what() + '\n';
  return status;
}

ExitStatus run(const std::vector<std::string>& arguments, const Interruption& interruption) {
  Options options;
  try {
    options = readOptions(arguments);
  } catch (const QVRException& wrongUse) {
    return fail(wrongUse, kWrongUse);
  }
  if (options.help) return help();
  options.threads = affordableThreads(options.threads);
  return report(options, interruption);
}

}  // namespace

int main(int argc, char** argv) {
  const Interruption interruption;
  // Arguments and messages are in the user's encoding.
  std::setlocale(LC_CTYPE, "");
  keepTimeZone();
  try {
    const QVRTraceCall trace(QVRSystemTrace, "catalogue");
    return run({argv + (argc > 0 ? 1 : 0), argv + argc}, interruption);
  } catch (const std::exception& failure) {
    return fail(failure, kFailed);
  }
}
