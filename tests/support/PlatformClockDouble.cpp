#include "QVRSystem/platform/QVRPlatformClock.h"

#include "support/PlatformForward.h"
