#include "support/PlatformPlan.h"

#include <atomic>
#include <map>
#include <mutex>

namespace {

struct Entry {
  int error;
  std::size_t onlyCall;
  std::size_t calls;
};

std::atomic<int> activePlans = 0;
std::mutex mutex;

// Made on first use: the library calls the platform from its static constructors.
std::map<std::string, Entry>& entries() {
  static std::map<std::string, Entry> map;
  return map;
}

}  // namespace

PlatformPlan::PlatformPlan(const char* function, int error, std::size_t onlyCall)
    : function_(function) {
  const std::lock_guard lock(mutex);
  entries()[function_] = {error, onlyCall, 0};
  ++activePlans;
}

PlatformPlan::~PlatformPlan() {
  const std::lock_guard lock(mutex);
  entries().erase(function_);
  --activePlans;
}

std::size_t PlatformPlan::calls() const {
  const std::lock_guard lock(mutex);
  return entries().at(function_).calls;
}

int platform_double::plannedError(const char* function) {
  if (activePlans == 0) return 0;
  const std::lock_guard lock(mutex);
  const auto found = entries().find(function);
  if (found == entries().end()) return 0;
  Entry& entry = found->second;
  ++entry.calls;
  return entry.onlyCall == 0 || entry.onlyCall == entry.calls ? entry.error : 0;
}
