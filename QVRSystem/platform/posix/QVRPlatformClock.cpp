#include "QVRSystem/platform/QVRPlatformClock.h"
