#include "support/CommandedThread.h"

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <utility>

namespace {

// How often the thread has gone to sleep, if it sleeps, as the kernel counts.
std::optional<long> sleepOf(pid_t thread) {
  const std::string kState = "State:\t";
  const std::string kSleeps = "voluntary_ctxt_switches:\t";
  std::ifstream in("/proc/self/task/" + std::to_string(thread) + "/status");
  bool asleep = false;
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with(kState)) asleep = line[kState.size()] == 'S';
    if (asleep && line.starts_with(kSleeps)) return std::stol(line.substr(kSleeps.size()));
  }
  return std::nullopt;
}

}  // namespace

CommandedThread::CommandedThread() : thread_([this] { obey(); }) { finish(); }

CommandedThread::~CommandedThread() {
  start({});
  thread_.join();
}

void CommandedThread::start(std::function<void()> action) {
  finish();
  action_ = std::move(action);
  stage_ = kTold;
  stage_.notify_all();
}

void CommandedThread::finish() {
  for (Stage stage = stage_; stage != kIdle; stage = stage_) stage_.wait(stage);
}

void CommandedThread::run(std::function<void()> action) {
  start(std::move(action));
  finish();
}

bool CommandedThread::sleeps() const {
  for (;;) {
    const Stage stage = stage_;
    if (stage == kIdle) return false;
    // Asleep and, as it is acting still, not waiting for its next action.
    if (stage == kActing && sleepOf(id_) && stage_ == kActing) return true;
    std::this_thread::yield();
  }
}

void CommandedThread::awaitRest(const std::vector<std::unique_ptr<CommandedThread>>& threads) {
  const auto look = [&] {
    std::vector<Rest> result;
    for (const auto& thread : threads) result.push_back(thread->rest());
    return result;
  };
  const auto isOver = [](const Rest& rest) { return !rest.busy || rest.sleep; };
  for (;;) {
    // Where two looks tell of the same sleeps, nobody ran between them.
    const std::vector<Rest> seen = look();
    if (std::all_of(seen.begin(), seen.end(), isOver) && look() == seen) return;
    std::this_thread::yield();
  }
}

CommandedThread::Rest CommandedThread::rest() const {
  const Stage stage = stage_;
  if (stage != kActing) return {stage != kIdle, std::nullopt};
  const std::optional<long> sleep = sleepOf(id_);
  return {isBusy(), sleep};
}

void CommandedThread::obey() {
  id_ = gettid();
  for (;;) {
    stage_ = kIdle;
    stage_.notify_all();
    stage_.wait(kIdle);
    if (!action_) return;
    stage_ = kActing;
    action_();
  }
}
