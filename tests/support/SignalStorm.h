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
  int slept = 0;
  for (; slept < 1000 && thread.sleeps(); ++slept) pthread_kill(thread.nativeHandle(), SIGUSR1);
  EXPECT_TRUE(thread.sleeps()) << "after signal " << slept;
  sigaction(SIGUSR1, &before, nullptr);
}
