#include "scheduler/Execution.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <utility>

namespace qvr::scheduler {

namespace {

constexpr ThreadSet bit(unsigned thread) { return ThreadSet{1} << thread; }

std::string escapedFrom(const char* thread, const char* what) {
  return std::string("an exception left ") + thread + ": " + what;
}

}  // namespace

Execution& Execution::instance() {
  // Never destroyed: fibers that are parked for good cannot be unwound.
  static auto* const execution = new Execution;
  return *execution;
}

Execution::Execution() : fibers_([this](unsigned index) { threadMain(index); }) {}

bool Execution::run(const std::function<void(Trial&)>& scenario, Strategy& strategy,
                    std::uint32_t stepLimit) {
  prepare(strategy, stepLimit);
  scenario(trial_);
  runThreads();
  runChecks();
  takeDown();
  return failure_.empty();
}

void Execution::prepare(Strategy& strategy, std::uint32_t stepLimit) {
  strategy_ = &strategy;
  stepLimit_ = stepLimit;
  trial_.clear();  // of one whose set-up ended in an exception
  trace_.clear();
  failure_.clear();
  std::fill(std::begin(threads_), std::end(threads_), Thread());
  yielding_ = 0;
}

void Execution::runThreads() {
  const auto count = static_cast<unsigned>(trial_.threads_.size());
  alive_ = awake_ = bit(count) - 1;
  idle_ = 0;
  for (unsigned i = 0; i < count; ++i) {
    if (trial_.threads_[i].idle) idle_ |= bit(i);
  }
  if (alive_ == 0 || !failure_.empty()) return;
  enter(strategy_->nextThread(ready(), kNobody));
}

void Execution::runChecks() {
  for (const auto& check : trial_.checks_) {
    if (failure_.empty()) check();
  }
}

void Execution::takeDown() {
  if (!failure_.empty()) {
    fibers_.abandonAll();
    // They hold what they held for ever; only their mutexes know that they ended.
    for (unsigned i = 0; i < kMaxThreads; ++i) abandonMutexesOf(i + 1);
  }
  trial_.destroyOwned();
  if (hasMutexes()) fail("mutexes of the platform were not closed");
  forgetMutexes();
  if (!failure_.empty() || keepsTrace_) {
    const auto words = trace_.words();
    traceText_ = trace_.text([this](unsigned thread) { return trial_.threads_[thread].name; },
                             [&](const void* word) { return nameOf(word, words); });
  }
  trial_.clear();
}

void Execution::threadMain(unsigned index) {
  runBody(index);
  end(index);
}

void Execution::runBody(unsigned index) {
  const Trial::Thread& thread = trial_.threads_[index];
  std::string escaped;
  try {
    thread.body();
    return;
  } catch (const std::exception& exception) {
    escaped = escapedFrom(thread.name, exception.what());
  } catch (...) {
    escaped = escapedFrom(thread.name, "no std::exception");
  }
  // Behind the handler: a thread that fails does not come back to end it.
  fail(std::move(escaped));
}

void Execution::end(unsigned index) {
  if (threads_[index].shortSections != 0) fail("a thread ended inside a short section");
  if (threads_[index].deferredWake != nullptr) wakeOne(threads_[index].deferredWake);
  abandonMutexesOf(index + 1);
  alive_ &= ~bit(index);
  awake_ &= ~bit(index);
  checkInvariants();
  if (alive_ == 0) {
    enter(Fibers::kCaller);
  } else {
    handOver();
  }
}

void Execution::fail(std::string text) {
  if (failure_.empty()) failure_ = std::move(text);
  if (current() == Fibers::kCaller) return;
  // Nobody unwinds this stack: what `text` holds now would be lost with it.
  std::string().swap(text);
  enter(Fibers::kCaller);
}

void Execution::report(const Assertion& assertion) {
  if (trial_.assertionHandler_) {
    trial_.assertionHandler_(assertion);
  } else {
    fail(std::string("assertion: ") + assertion.category + ": " + assertion.text + ", " +
         assertion.file + '(' + std::to_string(assertion.line) + ')');
  }
}

void Execution::enter(unsigned thread) {
  threadRuns = thread != Fibers::kCaller;
  fibers_.switchTo(thread);
}

// Those that may run now. Somebody is left of those that are awake: whoever
// yields goes after others that did nothing since, so the one of them that
// yielded first goes after none that yielded.
ThreadSet Execution::ready() const noexcept {
  ThreadSet result = (awake_ & ~idle_) != 0 ? awake_ & ~idle_ : awake_;
  const ThreadSet awake = result;
  for (ThreadSet rest = yielding_ & awake; rest != 0; rest &= rest - 1) {
    const auto thread = static_cast<unsigned>(std::countr_zero(rest));
    if ((threads_[thread].goesAfter & awake) != 0) result &= ~bit(thread);
  }
  return result;
}

void Execution::point(Operation operation, const void* word) {
  checkInvariants();
  const unsigned self = current();
  // A thread that has just been chosen was chosen for this operation. A step of
  // the scenario is none: what led there may be what others have to see.
  const bool chosen = std::exchange(threads_[self].fresh, false) && operation != Operation::Step;
  if (!chosen) {
    const unsigned next = strategy_->nextThread(ready(), self);
    if (next != self) enter(next);
  }
  countStep(operation, word);
}

void Execution::countStep(Operation operation, const void* word) {
  if (trace_.size() == stepLimit_) fail("step limit passed");
  const unsigned self = current();
  trace_.add(self, operation, word);
  if (yielding_ == 0) return;
  yielding_ &= ~bit(self);
  for (Thread& thread : threads_) thread.goesAfter &= ~bit(self);
}

void Execution::handOver() {
  const ThreadSet candidates = ready();
  if (candidates == 0) fail(standstill());
  const unsigned next = strategy_->nextThread(candidates, kNobody);
  if (next != current()) enter(next);
}

void Execution::sleepOn(const void* address) {
  checkInvariants();
  const unsigned self = current();
  threads_[self].sleepsOn = address;
  awake_ &= ~bit(self);
  handOver();
  threads_[self].sleepsOn = nullptr;
  threads_[self].fresh = true;
}

void Execution::yieldToOthers() {
  checkInvariants();
  const unsigned self = current();
  countStep(Operation::Yield, nullptr);
  threads_[self].goesAfter = awake_ & ~bit(self);
  yielding_ |= bit(self);
  handOver();
  threads_[self].fresh = true;
}

ThreadSet Execution::sleepersAt(const void* address) const noexcept {
  ThreadSet result = 0;
  for (ThreadSet rest = alive_; rest != 0; rest &= rest - 1) {
    const auto thread = static_cast<unsigned>(std::countr_zero(rest));
    if (threads_[thread].sleepsOn == address) result |= bit(thread);
  }
  return result;
}

bool Execution::wakeOne(const void* address) {
  ThreadSet sleepers = sleepersAt(address) & ~awake_;
  if (sleepers == 0) return false;
  for (unsigned i = strategy_->pick(static_cast<unsigned>(std::popcount(sleepers))); i != 0; --i) {
    sleepers &= sleepers - 1;
  }
  awake_ |= sleepers & ~(sleepers - 1);
  return true;
}

bool Execution::wakeAll(const void* address) {
  const ThreadSet sleepers = sleepersAt(address) & ~awake_;
  awake_ |= sleepers;
  return sleepers != 0;
}

void Execution::sleepAgain(const void* address) { awake_ &= ~sleepersAt(address); }

void Execution::checkInvariants() {
  if (trial_.invariants_.empty()) return;
  threadRuns = false;
  for (const Trial::Invariant& invariant : trial_.invariants_) {
    if (!invariant.holds()) fail(std::string("invariant: ") + invariant.text);
  }
  threadRuns = true;
}

std::string Execution::standstill() const {
  const auto words = trace_.words();
  std::string text = "nobody can run:";
  for (ThreadSet rest = alive_; rest != 0; rest &= rest - 1) {
    const auto thread = static_cast<unsigned>(std::countr_zero(rest));
    text += std::string(" ") + trial_.threads_[thread].name + " sleeps on " +
            nameOf(threads_[thread].sleepsOn, words) + ';';
  }
  text.pop_back();
  return text;
}

std::string Execution::nameOf(const void* word, const std::vector<const void*>& words) const {
  for (const Trial::Label& label : trial_.labels_) {
    const auto offset = static_cast<std::size_t>(static_cast<const char*>(word) -
                                                 static_cast<const char*>(label.object));
    if (offset < label.size) {
      return label.name + (offset != 0 ? '+' + std::to_string(offset) : std::string());
    }
  }
  const auto place = std::find(words.begin(), words.end(), word) - words.begin();
  return "word " + std::to_string(place + 1);
}

void point(Operation operation, const void* word) noexcept {
  Execution::instance().point(operation, word);
}

void note(std::uint64_t before, std::uint64_t after) noexcept {
  Execution::instance().note(before, after);
}

void sleepOn(const void* address) noexcept { Execution::instance().sleepOn(address); }

bool wakeOne(const void* address) noexcept { return Execution::instance().wakeOne(address); }

bool wakeAll(const void* address) noexcept { return Execution::instance().wakeAll(address); }

void sleepAgain(const void* address) noexcept { Execution::instance().sleepAgain(address); }

void yieldToOthers() noexcept { Execution::instance().yieldToOthers(); }

bool happensForNoReason() noexcept { return Execution::instance().happensForNoReason(); }

std::uint32_t threadNumber() noexcept { return Execution::instance().current() + 1; }

std::uint32_t& shortSections() noexcept { return Execution::instance().shortSections(); }

std::uint32_t*& deferredWake() noexcept { return Execution::instance().deferredWake(); }

void refuseToWait() noexcept {
  std::fputs("Set-up, an invariant or a check of a scenario waits for a lock that is held.\n",
             stderr);
  std::abort();
}

}  // namespace qvr::scheduler
