#include "Interruption.h"

#include <atomic>
#include <csignal>

namespace catalogue {
namespace {

std::atomic<bool> requested;
static_assert(std::atomic<bool>::is_always_lock_free, "signal handlers take no locks");

void takeNote(int) { requested.store(true, std::memory_order_relaxed); }

}  // namespace

Interruption::Interruption() {
  requested.store(false, std::memory_order_relaxed);
  struct sigaction action {};
  action.sa_handler = takeNote;
  // What the signal meets in a system call goes on as if nothing had happened.
  action.sa_flags = static_cast<int>(SA_RESETHAND) | SA_RESTART;
  sigaction(SIGINT, &action, nullptr);
}

Interruption::~Interruption() { std::signal(SIGINT, SIG_DFL); }

bool Interruption::isRequested() const { return requested.load(std::memory_order_relaxed); }

}  // namespace catalogue
