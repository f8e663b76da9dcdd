#include "QVRSystem/platform/QVRPlatformDirectory.h"

#include "support/PlatformForward.h"
