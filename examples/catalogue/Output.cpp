#include "Output.h"

#include <cerrno>
#include <cstdio>
#include <ios>
#include <system_error>
#include <utility>

#include "Printable.h"
#include "QVREOpenFailed.h"
#include "QVREWriteFault.h"

namespace catalogue {
namespace {

constexpr char kSource[] = "examples/catalogue/Output";

[[noreturn]] void fail(const std::string& name, const std::string& reason, int line) {
  QVREWriteFault fault(name.empty() ? u"the report cannot be written: %1"
                                    : u"the report cannot be written to '%2': %1",
                       kSource, line);
  fault << reason << printableInLocale(name);
  throw fault;
}

bool writeToStandardOutput(const std::string& report) {
  return std::fwrite(report.data(), 1, report.size(), stdout) == report.size() &&
         std::fflush(stdout) == 0;
}

}  // namespace

Output::Output(std::string file) : name_(std::move(file)) {
  if (name_.empty()) return;
  try {
    file_.open(name_, std::ios_base::out | std::ios_base::binary);
  } catch (const QVREOpenFailed& failure) {
    fail(name_, failure.what(), __LINE__);
  }
}

void Output::write(const std::string& report) {
  errno = 0;
  if (name_.empty() ? writeToStandardOutput(report) : writeToFile(report)) return;
  fail(name_, std::error_code(errno, std::generic_category()).message(), __LINE__);
}

// Closes the buffer itself, since that of the file does not tell of failures.
bool Output::writeToFile(const std::string& report) {
  std::filebuf& buffer = *file_.getBuffer();
  const auto size = static_cast<std::streamsize>(report.size());
  return buffer.sputn(report.data(), size) == size && buffer.close() != nullptr;
}

}  // namespace catalogue
