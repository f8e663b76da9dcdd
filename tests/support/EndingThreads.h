// The ways in which a thread can end.
#pragma once

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <functional>
#include <thread>
#include <vector>

/// Runs an action on a thread of its own, which ends behind it in a certain way and
/// runs no more when `run` returns.
struct ThreadEnding {
  const char* name;
  void (*run)(const std::function<void()>& action);
};

namespace ending_thread {

/// Runs the action on a thread of the C library that ends by `end`.
template <auto end>
void run(const std::function<void()>& action) {
  constexpr auto body = [](void* given) -> void* {
    (*static_cast<const std::function<void()>*>(given))();
    end();
    return nullptr;
  };
  pthread_t thread;
  pthread_create(&thread, nullptr, body, const_cast<std::function<void()>*>(&action));
  pthread_join(thread, nullptr);
}

inline void byReturning() {}
inline void byExiting() { pthread_exit(nullptr); }
inline void byCancellation() {
  pthread_cancel(pthread_self());
  pthread_testcancel();
}
// Behind the back of the C library.
inline void bySystemCall() { syscall(SYS_exit, 0); }

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kIsSanitized = true;
#else
constexpr bool kIsSanitized = false;
#endif

}  // namespace ending_thread

/// Every way; under the sanitizers without that by the bare system call, of which
/// they do not hear.
inline std::vector<ThreadEnding> threadEndings() {
  std::vector<ThreadEnding> endings = {
      {"std::thread", [](const std::function<void()>& action) { std::thread(action).join(); }},
      {"pthread_create", &ending_thread::run<&ending_thread::byReturning>},
      {"pthread_exit", &ending_thread::run<&ending_thread::byExiting>},
      {"pthread_cancel", &ending_thread::run<&ending_thread::byCancellation>},
      {"exit", &ending_thread::run<&ending_thread::bySystemCall>},
  };
  if (ending_thread::kIsSanitized) endings.pop_back();
  return endings;
}
