#include "Progress.h"

#include <unistd.h>

#include <iostream>
#include <string>

namespace catalogue {
namespace {

constexpr double kSecondsPerUpdate = 0.1;
constexpr std::uint64_t kMegabyte = 1'000'000;
constexpr char kClearLine[] = "\r\x1b[K";

}  // namespace

Progress::Progress() : isTerminal_(isatty(STDERR_FILENO) != 0) {}

Progress::~Progress() {
  const QVRSysFastMutexLock::LockGuard guard(lock_);
  if (isShown_) std::cerr << kClearLine << std::flush;
}

void Progress::add(std::uint64_t entries, std::uint64_t bytes) {
  if (!isTerminal_) return;
  const QVRSysFastMutexLock::LockGuard guard(lock_);
  entries_ += entries;
  bytes_ += bytes;
  if (!isShown_ || sinceUpdate_.read() >= kSecondsPerUpdate) show();
}

void Progress::show() {
  std::string line = kClearLine + std::to_string(entries_) + " entries";
  if (bytes_ != 0) line += ", " + std::to_string(bytes_ / kMegabyte) + " MB read";
  std::cerr << line << std::flush;
  isShown_ = true;
  sinceUpdate_.reset();
  sinceUpdate_.start();
}

}  // namespace catalogue
