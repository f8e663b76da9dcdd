#include "support/CommandedThread.h"

#include <unistd.h>

#include <fstream>
#include <string>
#include <utility>

namespace {

// The state of the thread as the kernel tells it: the letter behind the name, which
// is in parentheses.
bool isAsleep(pid_t thread) {
  std::ifstream in("/proc/self/task/" + std::to_string(thread) + "/stat");
  std::string line;
  std::getline(in, line);
  const auto name = line.rfind(')');
  return name != std::string::npos && line.compare(name, 3, ") S") == 0;
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
    if (stage == kActing && isAsleep(id_) && stage_ == kActing) return true;
    std::this_thread::yield();
  }
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
