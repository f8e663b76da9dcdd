// The fast mutex, and with it the recursive lock that the critical section shares.
#include "QVRSysFastMutexLock.h"
#include "QVRSysTimedMutexLock.h"
#include "scheduler/Scenarios.h"

namespace {

using namespace qvr::scheduler;

struct Shared {
  QVRSysFastMutexLock lock;
  Region region;
};

Shared& makeShared(Trial& trial) {
  Shared& shared = trial.make<Shared>();
  trial.label(shared.lock, "lock");
  return shared;
}

const Scenario exclusion("QVRSysFastMutexLock/exclusion", [](Trial& trial) {
  Shared& shared = makeShared(trial);
  for (const char* name : {"A", "B", "C"}) {
    trial.thread(name, [&shared] {
      shared.lock.acquire();
      shared.region.pass();
      shared.lock.release();
    });
  }
});

}  // namespace
