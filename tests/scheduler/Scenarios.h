// The scenarios of a program, each defined in the source of its class.
#pragma once

#include <functional>
#include <vector>

#include "scheduler/QVRScheduler.h"

namespace qvr::scheduler {

/// A scenario with a name, on the list of the program as long as that runs.
///
/// A static object; the name is the class, a slash and what happens, without
/// blanks.
class Scenario {
 public:
  Scenario(const char* name, std::function<void(Trial&)> setUp, Options options = {});

  Scenario(const Scenario&) = delete;
  Scenario& operator=(const Scenario&) = delete;

  /// All of the program, in the order of their names.
  static std::vector<const Scenario*> all();

  const char* name() const { return name_; }
  const Options& options() const { return options_; }
  Report explore(const Options& options) const {
    return scheduler::explore(name_, setUp_, options);
  }

 private:
  const char* const name_;
  const std::function<void(Trial&)> setUp_;
  const Options options_;
};

}  // namespace qvr::scheduler
