// A lock that tells what guards do with it.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "QVRSysIMutexLock.h"
#include "QVRSysIReadWriteLock.h"

/// Writes down every operation, those that throw included.
class RecordingLock : public QVRSysIMutexLock, public QVRSysIReadWriteLock {
 public:
  using Calls = std::vector<std::string>;

  void acquire() override { call("acquire"); }
  void acquireRead() override { call("acquireRead"); }
  void acquireWrite() override { call("acquireWrite"); }
  void release() override { call("release"); }
  bool tryAcquireRead() override { return called("tryAcquireRead"); }
  bool tryAcquireWrite() override { return called("tryAcquireWrite"); }

  /// Has the next operation throw std::runtime_error.
  void throwNext() { throwsNext_ = true; }

  /// The operations since the last time that this was asked.
  Calls take() { return std::exchange(calls_, {}); }

 private:
  void call(const char* name) {
    calls_.emplace_back(name);
    if (std::exchange(throwsNext_, false)) throw std::runtime_error(name);
  }

  bool called(const char* name) {
    call(name);
    return true;
  }

  Calls calls_;
  bool throwsNext_ = false;
};
