#include "QVRSystem/platform/QVRPlatformFile.h"

#include "support/PlatformForward.h"
