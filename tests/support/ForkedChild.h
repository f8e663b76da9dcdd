// What a forked child comes to.
#pragma once

#include <sys/wait.h>
#include <unistd.h>

/// Forks, runs `child` there and returns what it returned, its exit status; -1
/// where something ended it, as its alarm does if it hangs.
template <class Child>
int exitStatusOfFork(Child child) {
  constexpr unsigned kSecondsToHang = 60;
  const pid_t pid = fork();
  if (pid == 0) {
    alarm(kSecondsToHang);
    _exit(child());
  }
  int status = -1;
  waitpid(pid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
