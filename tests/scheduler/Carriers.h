// Threads for code that makes threads.
#pragma once

#include <cstdint>

#include "scheduler/QVRScheduler.h"

namespace qvr::scheduler {

/// A thread of a scenario that waits to be made a thread of the code under test, once.
struct Carrier {
  void (*run)(void* what) = nullptr;
  void* what = nullptr;
  std::uint32_t number = 0;  // the thread's; 0 until it runs
  bool isNeeded = false;
  bool isDismissed = false;  // will not be needed
  bool hasEnded = false;
};

/// Adds so many carriers to a scenario. Once nobody else can run, those that are left over end.
void addCarriers(Trial& trial, int count);

/// Has a carrier run something. @return null where none is left: no thread can be made.
Carrier* takeCarrier(void (*run)(void* what), void* what) noexcept;

/// Waits until it has run that.
void awaitEnd(Carrier& carrier) noexcept;

}  // namespace qvr::scheduler
