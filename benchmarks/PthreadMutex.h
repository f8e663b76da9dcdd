// The C library's mutexes, under the operation names of the others.
#pragma once

#include <pthread.h>

/// @tparam Kind such as PTHREAD_MUTEX_RECURSIVE.
/// @tparam Robustness PTHREAD_MUTEX_STALLED or PTHREAD_MUTEX_ROBUST.
template <int Kind, int Robustness>
class PthreadMutex {
 public:
  PthreadMutex() {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, Kind);
    pthread_mutexattr_setrobust(&attributes, Robustness);
    pthread_mutex_init(&mutex_, &attributes);
    pthread_mutexattr_destroy(&attributes);
  }
  ~PthreadMutex() { pthread_mutex_destroy(&mutex_); }

  PthreadMutex(const PthreadMutex&) = delete;
  PthreadMutex& operator=(const PthreadMutex&) = delete;

  // The results are looked at, as callers of a robust mutex have to.
  bool lock() { return pthread_mutex_lock(&mutex_) == 0; }
  bool try_lock() { return pthread_mutex_trylock(&mutex_) == 0; }
  bool unlock() { return pthread_mutex_unlock(&mutex_) == 0; }

 private:
  pthread_mutex_t mutex_;
};
