#include "scheduler/Scenarios.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace qvr::scheduler {

namespace {

/// A function's, so that it is there for the first of the static scenarios.
std::vector<const Scenario*>& list() {
  static std::vector<const Scenario*> scenarios;
  return scenarios;
}

}  // namespace

Scenario::Scenario(const char* name, std::function<void(Trial&)> setUp, Options options)
    : name_(name), setUp_(std::move(setUp)), options_(std::move(options)) {
  list().push_back(this);
}

std::vector<const Scenario*> Scenario::all() {
  std::vector<const Scenario*> result = list();
  std::sort(result.begin(), result.end(), [](const Scenario* left, const Scenario* right) {
    return std::string_view(left->name()) < right->name();
  });
  return result;
}

}  // namespace qvr::scheduler
