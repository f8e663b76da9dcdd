// Signals that interrupt a sleeping thread.
#pragma once

#include <gtest/gtest.h>
#include <pthread.h>

#include <csignal>

#include "support/CommandedThread.h"

/// Expects a thread that sleeps in its action to do so still however often a signal
/// of the system ends its system call.
inline void expectToSleepThroughSignals(CommandedThread& thread) {
  struct sigaction interrupt = {};
  interrupt.sa_handler = [](int) {};  // without SA_RESTART
  struct sigaction before;
  sigaction(SIGUSR1, &interrupt, &before);
  for (int i = 0; i < 1000; ++i) {
    pthread_kill(thread.nativeHandle(), SIGUSR1);
    ASSERT_TRUE(thread.sleeps()) << i;
  }
  sigaction(SIGUSR1, &before, nullptr);
}
