#include "scheduler/Carriers.h"

#include <iterator>

#include "scheduler/SchedulingPoint.h"

namespace qvr::scheduler {

namespace {

constexpr const char* kNames[] = {"carrier 1", "carrier 2", "carrier 3", "carrier 4"};

// Of the schedule under way.
Carrier carriers[std::size(kNames)];
int count = 0;

void carry(Carrier& carrier) {
  carrier.number = threadNumber();
  while (!carrier.isNeeded && !carrier.isDismissed) sleepOn(&carrier);
  if (!carrier.isNeeded) return;
  carrier.run(carrier.what);
  carrier.hasEnded = true;
  wakeAll(&carrier.hasEnded);
}

void dismissAll() {
  for (int i = 0; i < count; ++i) {
    carriers[i].isDismissed = true;
    wakeAll(&carriers[i]);
  }
}

}  // namespace

void addCarriers(Trial& trial, int number) {
  count = number;
  for (int i = 0; i < count; ++i) {
    carriers[i] = Carrier();
    trial.thread(kNames[i], [i] { carry(carriers[i]); });
  }
  trial.idleThread("dismisses carriers", dismissAll);
}

Carrier* takeCarrier(void (*run)(void* what), void* what) noexcept {
  point(Operation::Step, carriers);
  for (int i = 0; i < count; ++i) {
    Carrier& carrier = carriers[i];
    if (carrier.isNeeded || carrier.isDismissed) continue;
    carrier.run = run;
    carrier.what = what;
    carrier.isNeeded = true;
    wakeAll(&carrier);
    return &carrier;
  }
  return nullptr;
}

void awaitEnd(Carrier& carrier) noexcept {
  if (onThread()) point(Operation::Wait, &carrier);
  while (!carrier.hasEnded) sleepOn(&carrier.hasEnded);
}

}  // namespace qvr::scheduler
