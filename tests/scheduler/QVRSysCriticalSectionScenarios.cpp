// The critical section.
#include "QVRSysCriticalSection.h"

#include "scheduler/LockScenarios.h"
#include "scheduler/Scenarios.h"

namespace {

using namespace qvr::scheduler;

using Section = QVRSysCriticalSection;

const Scenario exclusion("QVRSysCriticalSection/exclusion", exclude<Section>);
const Scenario again("QVRSysCriticalSection/exclusionAgain", excludeAgain<Section>);
const Scenario nesting("QVRSysCriticalSection/nesting", nest<Section>);
const Scenario stranger("QVRSysCriticalSection/releaseUnheld", releaseUnheld<Section>);
const Scenario destruction("QVRSysCriticalSection/destructionByTheLastUser",
                           destroyByLastUser<Section>);

}  // namespace
