// Explores the scenarios that are linked into the program.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <iomanip>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "scheduler/Scenarios.h"

namespace qvr::scheduler {

namespace {

constexpr char kUsage[] =
    "Options: --schedules N  explore so many in all, those at random included\n"
    "         --seed N       begin the random ones there\n"
    "         --deeper N     allow so many pre-emptions more where all schedules are tried\n"
    "         --only TEXT    only scenarios whose name contains it\n"
    "         --find         end at the first failure, and succeed with it\n"
    "QVR_REPLAY='...' in the environment repeats one schedule of one scenario.\n";

constexpr int kNameWidth = 60;

using Clock = std::chrono::steady_clock;

struct Request {
  std::uint64_t schedules = 1'000'000;
  std::uint64_t seed = 1;
  int deeper = 0;
  std::string only;
  bool find = false;
};

Request requestOf(int count, char** arguments) {
  Request request;
  for (int i = 1; i < count; ++i) {
    const std::string option = arguments[i];
    if (option == "--find") {
      request.find = true;
      continue;
    }
    if (++i == count) throw std::invalid_argument(option + " lacks its value");
    if (option == "--schedules") {
      request.schedules = std::stoull(arguments[i]);
    } else if (option == "--seed") {
      request.seed = std::stoull(arguments[i]);
    } else if (option == "--deeper") {
      request.deeper = std::stoi(arguments[i]);
    } else if (option == "--only") {
      request.only = arguments[i];
    } else {
      throw std::invalid_argument("unknown: " + option);
    }
  }
  return request;
}

std::vector<const Scenario*> chosen(const std::string& only) {
  std::vector<const Scenario*> result;
  for (const Scenario* scenario : Scenario::all()) {
    if (std::strstr(scenario->name(), only.c_str()) != nullptr) result.push_back(scenario);
  }
  if (result.empty()) throw std::invalid_argument("no scenario is called " + only);
  return result;
}

std::string firstLine(const std::string& text) { return text.substr(0, text.find('\n')); }

/// Explores the scenarios one after the other and adds up what came of it.
class Explorer {
 public:
  explicit Explorer(const Request& request) : request_(request) {}

  /// The exhaustive part of each, then as many at random as are still missing.
  bool explore(const std::vector<const Scenario*>& scenarios) {
    std::cout << std::left << std::setw(kNameWidth) << "scenario" << std::right << std::setw(12)
              << "schedules" << std::setw(14) << "steps" << std::setw(9) << "ms" << '\n';
    for (const Scenario* scenario : scenarios) exploreAll(*scenario);
    std::size_t shares = scenarios.size();
    for (const Scenario* scenario : scenarios) exploreAtRandom(*scenario, shares--);
    std::cout << exhaustive_ << " different schedules and " << random_ << " at random explored, "
              << steps_ << " steps, " << scenarios.size() << " scenarios, " << failed_
              << " failed\n";
    return (request_.find ? failed_ != 0 : failed_ == 0) && repeatable_;
  }

 private:
  void exploreAll(const Scenario& scenario) {
    Options options = scenario.options();
    options.random = 0;
    options.preemptions += request_.deeper;
    run(scenario, options, " (all)");
  }

  void exploreAtRandom(const Scenario& scenario, std::size_t shares) {
    const std::uint64_t done = exhaustive_ + random_;
    if (done >= request_.schedules) return;
    Options options = scenario.options();
    options.preemptions = -1;
    options.random = (request_.schedules - done + shares - 1) / shares;
    options.seed = request_.seed;
    run(scenario, options, " (random)");
  }

  void run(const Scenario& scenario, const Options& options, const char* part) {
    if (request_.find && failed_ != 0) return;
    const Clock::time_point begin = Clock::now();
    const Report report = scenario.explore(options);
    const auto taken = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin);
    exhaustive_ += report.exhaustive;
    random_ += report.random;
    steps_ += report.steps;
    std::cout << std::left << std::setw(kNameWidth) << std::string(scenario.name()) + part
              << std::right << std::setw(12) << report.schedules() << std::setw(14) << report.steps
              << std::setw(9) << taken.count() << '\n';
    if (report.steps == 0) {
      throw std::logic_error(std::string(scenario.name()) +
                             ": no step; its sources are not compiled for the scheduler");
    }
    if (report.failure.empty()) return;
    ++failed_;
    std::cout << report.failure << std::flush;
    repeat(scenario, report);
  }

  /// A scenario that is not the same each time cannot be repeated; that is a failure of
  /// its own. (Steps after a wild write may differ.)
  void repeat(const Scenario& scenario, const Report& report) {
    Options options = scenario.options();
    options.replay = report.replay;
    if (firstLine(scenario.explore(options).failure) == firstLine(report.failure)) return;
    repeatable_ = false;
    std::cout << "It went otherwise when it was repeated.\n";
  }

  const Request request_;
  std::uint64_t exhaustive_ = 0;
  std::uint64_t random_ = 0;
  std::uint64_t steps_ = 0;
  std::size_t failed_ = 0;
  bool repeatable_ = true;
};

/// Runs the one schedule that QVR_REPLAY names. @return whether it passes.
bool replay(const std::string& value) {
  const std::string name = value.substr(0, value.find(' '));
  for (const Scenario* scenario : Scenario::all()) {
    if (name != scenario->name()) continue;
    const Report report = scenario->explore(scenario->options());
    std::cout << (report.failure.empty() ? name + " passes:\n" + report.trace : report.failure);
    return report.failure.empty();
  }
  throw std::invalid_argument("no scenario is called " + name);
}

bool runProgram(int count, char** arguments) {
  if (const char* const value = std::getenv("QVR_REPLAY")) return replay(value);
  const Request request = requestOf(count, arguments);
  return Explorer(request).explore(chosen(request.only));
}

}  // namespace

}  // namespace qvr::scheduler

int main(int count, char** arguments) try {
  return qvr::scheduler::runProgram(count, arguments) ? EXIT_SUCCESS : EXIT_FAILURE;
} catch (const std::exception& exception) {
  std::cerr << exception.what() << '\n' << qvr::scheduler::kUsage;
  return 2;
}
