// A module of its own, loaded locally, that throws and catches.
#include "QVREFileNotFound.h"
#include "QVREOutOfRange.h"

#define MODULE_EXPORT extern "C" __attribute__((visibility("default")))

MODULE_EXPORT void throwOutOfRange(int index) {
  QVREOutOfRange error(u"Index %1", "QVRErrorModule.cpp", 7);
  error << index;
  throw error;
}

/// @return what a handler for exactly that class is told.
MODULE_EXPORT int lineOfFileNotFound(void (*action)()) {
  try {
    action();
  } catch (const QVREFileNotFound& error) {
    return error.getSrcLine();
  }
  return -1;
}
