#include "QVRSystem/platform/QVRPlatformMutex.h"

#include <pthread.h>

#include <cerrno>
#include <new>

namespace qvr::QVR_PLATFORM {

namespace {

static_assert(sizeof(pthread_mutex_t) <= sizeof(PlatformMutex));
static_assert(alignof(pthread_mutex_t) <= alignof(PlatformMutex));

pthread_mutex_t& native(PlatformMutex& mutex) {
  return *std::launder(reinterpret_cast<pthread_mutex_t*>(mutex.words));
}

// Held either way; from here on the mutex is as good as new.
int madeConsistent(pthread_mutex_t& mutex, int result) {
  if (result == EOWNERDEAD) pthread_mutex_consistent(&mutex);
  return result;
}

}  // namespace

int createMutex(PlatformMutex& mutex) noexcept {
  pthread_mutexattr_t attributes;
  if (const int error = pthread_mutexattr_init(&attributes); error != 0) return error;
  int error = pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
  if (error == 0) error = pthread_mutex_init(new (mutex.words) pthread_mutex_t, &attributes);
  pthread_mutexattr_destroy(&attributes);
  return error;
}

int waitMutex(PlatformMutex& mutex) noexcept {
  pthread_mutex_t& waited = native(mutex);
  return madeConsistent(waited, pthread_mutex_lock(&waited));
}

int releaseMutex(PlatformMutex& mutex) noexcept { return pthread_mutex_unlock(&native(mutex)); }

int closeMutex(PlatformMutex& mutex) noexcept {
  pthread_mutex_t& closed = native(mutex);
  const int result = madeConsistent(closed, pthread_mutex_trylock(&closed));
  if (result != 0 && result != EOWNERDEAD) return result;
  if (const int error = pthread_mutex_unlock(&closed); error != 0) return error;
  return pthread_mutex_destroy(&closed);
}

}  // namespace qvr::QVR_PLATFORM
