#include "Interruption.h"

#include <atomic>
#include <csignal>

namespace catalogue {
namespace {

std::atomic<bool> requested;
static_assert(std::atomic<bool>::is_always_lock_free, "signal handlers take no locks");

void takeNote(int signal) {
  std::signal(signal, SIG_DFL);
  requested.store(true, std::memory_order_relaxed);
}

}  // namespace

// System calls that the signal meets go on as if nothing had happened: so the C library has it.
Interruption::Interruption() { std::signal(SIGINT, takeNote); }

bool Interruption::isRequested() const { return requested.load(std::memory_order_relaxed); }

}  // namespace catalogue
