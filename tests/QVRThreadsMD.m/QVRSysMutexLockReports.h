// What mutexes report.
#pragma once

#include "support/AssertRecorder.h"

inline constexpr char kMutexSource[] = "QVRSystem/QVRThreadsMD.m/src/QVRSysMutexLock";

inline const AssertRecord kNotAcquired{"Assertion", "result == ((((DWORD )0x00000000L) ) + 0 )",
                                       kMutexSource, 74};
inline const AssertRecord kNotReleased{"Assertion", "result != 0", kMutexSource, 136};
inline const AssertRecord kNotClosed{"Assertion", "result != 0", kMutexSource, 244};

/// Gives back every hold of the caller. @return how many there were.
template <class Mutex>
int giveBackAll(Mutex& mutex) {
  const AssertRecorder asserts;
  for (int holds = 0;; ++holds) {
    mutex.release();
    if (!asserts.all().empty()) return holds;
  }
}
