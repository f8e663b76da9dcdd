#include "QVRSystem/platform/QVRPlatformLocale.h"

#include "support/PlatformForward.h"
