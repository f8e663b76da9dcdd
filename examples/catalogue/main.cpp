// Catalogues a directory tree. --help says how it is used.
#include <sys/resource.h>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

#include "Catalogue.h"
#include "Interruption.h"
#include "Machine.h"
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
  constexpr std::uint64_t kOtherDescriptors = 6;
  const std::uint64_t limit = raiseDescriptorLimit();
  const std::uint64_t left = limit - std::min(limit, kOtherDescriptors);
  return static_cast<int>(std::clamp<std::uint64_t>(left, 1, static_cast<std::uint64_t>(wanted)));
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

Catalogue catalogueTree(const Options& options) {
  const Interruption interruption;
  Progress progress;
  return walk(options, progress, interruption);
}

ExitStatus statusFor(const Catalogue& catalogue) {
  if (catalogue.isInterrupted) return kInterrupted;
  return catalogue.unreadable.empty() ? kAllRead : kSomeUnreadable;
}

ExitStatus report(const Options& options) {
  std::ostringstream out;
  if (options.help) {
    writeHelp(out);
    print(out.str());
    return kAllRead;
  }
  const Catalogue catalogue = catalogueTree(options);
  writeReport(thisMachine(), catalogue, options, out);
  print(out.str());
  return statusFor(catalogue);
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
  options.threads = affordableThreads(options.threads);
  return report(options);
}

}  // namespace

int main(int argc, char** argv) {
  // Arguments and messages are in the user's encoding.
  std::setlocale(LC_CTYPE, "");
  keepTimeZone();
  try {
    const QVRTraceCall trace(QVRSystemTrace, "catalogue");
    return run({argv + (argc > 0 ? 1 : 0), argv + argc});
  } catch (const std::exception& failure) {
    return fail(failure, kFailed);
  }
}
