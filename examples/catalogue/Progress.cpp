#include "Progress.h"

#include <unistd.h>

#include <iostream>

namespace catalogue {
namespace {

constexpr double kSecondsPerUpdate = 0.1;
constexpr char kClearLine[] = "\r\x1b[K";

}  // namespace

Progress::Progress() : isTerminal_(isatty(STDERR_FILENO) != 0) {}

Progress::~Progress() {
  if (isShown_) std::cerr << kClearLine << std::flush;
}

void Progress::update() {
  if (isShown_ && sinceUpdate_.read() < kSecondsPerUpdate) return;
  std::cerr << kClearLine << entries_ << " entries" << std::flush;
  isShown_ = true;
  sinceUpdate_.reset();
  sinceUpdate_.start();
}

}  // namespace catalogue
