// What threads do that are asked to end.
#pragma once

#include <pthread.h>

namespace cancelled_thread {

template <class Action>
struct Run {
  Action& action;
  bool finished = false;

  // A frame of its own, which is left before the thread is unwound: of frames
  // that are unwound, AddressSanitizer keeps the marks.
  [[gnu::noinline]] void finish() {
    action();
    finished = true;
  }
};

template <class Action>
void* body(void* run) {
  pthread_cancel(pthread_self());
  static_cast<Run<Action>*>(run)->finish();
  pthread_testcancel();
  return nullptr;
}

}  // namespace cancelled_thread

/// Runs `action` on a thread that has been cancelled but has met no point of
/// cancellation yet. @return whether the action was finished, and the thread ended
/// at the first such point behind it.
template <class Action>
bool finishesThoughCancelled(Action action) {
  cancelled_thread::Run<Action> run{action};
  pthread_t thread;
  if (pthread_create(&thread, nullptr, cancelled_thread::body<Action>, &run) != 0) return false;
  void* result = nullptr;
  pthread_join(thread, &result);
  return run.finished && result == PTHREAD_CANCELED;
}
