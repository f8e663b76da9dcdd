#include "scheduler/QVRScheduler.h"

#include <cstdlib>
#include <stdexcept>
#include <string_view>

#include "QVRAssert.h"
#include "scheduler/Crashes.h"
#include "scheduler/Execution.h"
#include "scheduler/SchedulingPoint.h"
#include "scheduler/Strategy.h"

namespace qvr::scheduler {

void Trial::thread(const char* name, std::function<void()> body) {
  if (threads_.size() == kMaxThreads) throw std::length_error("too many threads");
  threads_.push_back({name, std::move(body), false});
}

void Trial::idleThread(const char* name, std::function<void()> body) {
  thread(name, std::move(body));
  threads_.back().idle = true;
}

void Trial::invariant(const char* text, std::function<bool()> holds) {
  invariants_.push_back({text, std::move(holds)});
}

void Trial::atEnd(std::function<void()> check) { checks_.push_back(std::move(check)); }

void Trial::onAssertion(std::function<void(const Assertion&)> handler) {
  assertionHandler_ = std::move(handler);
}

void Trial::clear() {
  threads_.clear();
  invariants_.clear();
  checks_.clear();
  assertionHandler_ = nullptr;
  labels_.clear();
  destroyOwned();
}

void Trial::destroyOwned() {
  while (!owned_.empty()) owned_.pop_back();
}

void require(bool condition, const char* text) {
  if (!condition) Execution::instance().fail(text);
}

void step() {
  if (onThread()) point(Operation::Step, nullptr);
}

void Region::enter() { require(++inside_ <= limit_, "too many threads inside"); }

void Region::leave() { --inside_; }

void Region::pass() {
  enter();
  step();
  leave();
}

void Gate::pass() {
  step();
  while (!open_) sleepOn(this);
}

void Gate::open() {
  step();
  open_ = true;
  wakeAll(this);
}

namespace {

constexpr std::string_view kSeed = "seed=";
constexpr std::string_view kPreemptions = "preemptions=";
constexpr std::string_view kChoices = " choices=";

/// Makes every assertion one of the schedule under way, in its scope.
class AssertionsOfSchedule {
 public:
  AssertionsOfSchedule() : before_(QVRSetAssertHandler(&report)) {}
  ~AssertionsOfSchedule() { QVRSetAssertHandler(before_); }

  AssertionsOfSchedule(const AssertionsOfSchedule&) = delete;
  AssertionsOfSchedule& operator=(const AssertionsOfSchedule&) = delete;

 private:
  static void report(const char* category, const char* text, const char* file, int line) {
    Execution::instance().report({category, text, file, line});
  }

  const QVRAssertHandler before_;
};

/// The part of QVR_REPLAY behind the scenario's name; empty for another scenario.
std::string replayFromEnvironment(std::string_view name) {
  const char* const value = std::getenv("QVR_REPLAY");
  const std::string_view text = value != nullptr ? value : "";
  if (!text.starts_with(name) || text.substr(name.size(), 1) != " ") return {};
  return std::string(text.substr(name.size() + 1));
}

std::uint64_t numberOf(std::string_view text) {
  try {
    return std::stoull(std::string(text));
  } catch (const std::exception&) {
    throw std::invalid_argument("no number: " + std::string(text));
  }
}

}  // namespace

class Exploration {
 public:
  Exploration(const char* name, const std::function<void(Trial&)>& scenario, const Options& options)
      : name_(name), scenario_(scenario), options_(options) {}

  Report explore() {
    const std::string replay =
        options_.replay.empty() ? replayFromEnvironment(name_) : options_.replay;
    execution_.keepTrace(!replay.empty());
    if (!replay.empty()) {
      repeat(replay);
    } else if (options_.preemptions < 0 || exploreAll()) {
      exploreAtRandom();
    }
    return std::move(report_);
  }

 private:
  void repeat(const std::string& replay) {
    const std::string_view text = replay;
    if (text.starts_with(kSeed)) {
      runSeed(numberOf(text.substr(kSeed.size())));
    } else if (text.starts_with(kPreemptions)) {
      const std::size_t end = text.find(kChoices);
      if (end == text.npos) throw std::invalid_argument("no choices: " + replay);
      const auto preemptions = numberOf(text.substr(kPreemptions.size()));
      ExhaustiveStrategy strategy(static_cast<unsigned>(preemptions),
                                  replay.substr(end + kChoices.size()));
      runChoices(strategy);
    } else {
      throw std::invalid_argument("cannot be replayed: " + replay);
    }
    report_.trace = execution_.traceText();
  }

  bool exploreAll() {
    ExhaustiveStrategy strategy(static_cast<unsigned>(options_.preemptions));
    while (report_.exhaustive < options_.exhaustiveLimit) {
      if (!runChoices(strategy)) return false;
      if (!strategy.advance()) {
        report_.complete = true;
        return true;
      }
    }
    return true;
  }

  void exploreAtRandom() {
    for (std::uint64_t i = 0; i < options_.random; ++i) {
      if (!runSeed(options_.seed + i)) return;
    }
  }

  bool runChoices(ExhaustiveStrategy& strategy) {
    ++report_.exhaustive;
    strategy.begin();
    if (runOnce(strategy)) return true;
    fails(std::string(kPreemptions) + std::to_string(strategy.preemptions()) +
          std::string(kChoices) + strategy.choices());
    return false;
  }

  bool runSeed(std::uint64_t seed) {
    ++report_.random;
    RandomStrategy strategy(seed, options_.noise);
    if (runOnce(strategy)) return true;
    fails(std::string(kSeed) + std::to_string(seed));
    return false;
  }

  bool runOnce(Strategy& strategy) {
    const bool passed = execution_.run(scenario_, strategy, options_.stepLimit);
    report_.steps += execution_.steps();
    return passed;
  }

  void fails(std::string replay) {
    report_.replay = std::move(replay);
    report_.trace = execution_.traceText();
    report_.failure = std::string(name_) + ": " + execution_.failure() + '\n' + report_.trace +
                      "Again: QVR_REPLAY='" + name_ + ' ' + report_.replay + "'\n";
  }

  const char* const name_;
  const std::function<void(Trial&)>& scenario_;
  const Options& options_;
  Execution& execution_ = Execution::instance();
  const AssertionsOfSchedule assertions_;
  const CrashesOfSchedule crashes_;
  Report report_;
};

Report explore(const char* name, const std::function<void(Trial&)>& scenario,
               const Options& options) {
  return Exploration(name, scenario, options).explore();
}

}  // namespace qvr::scheduler
