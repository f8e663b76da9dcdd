// What threads do that are asked to end.
#pragma once

#include <pthread.h>

/// Runs `action` on a thread that has been cancelled but has met no point of
/// cancellation yet. @return whether the action was finished, and the thread ended
/// at the first such point behind it.
template <class Action>
bool finishesThoughCancelled(Action action) {
  struct Run {
    Action& action;
    bool finished;
  } run = {action, false};
  const auto body = [](void* argument) -> void* {
    auto& own = *static_cast<Run*>(argument);
    pthread_cancel(pthread_self());
    own.action();
    own.finished = true;
    pthread_testcancel();
    return nullptr;
  };
  pthread_t thread;
  if (pthread_create(&thread, nullptr, body, &run) != 0) return false;
  void* result = nullptr;
  pthread_join(thread, &result);
  return run.finished && result == PTHREAD_CANCELED;
}
