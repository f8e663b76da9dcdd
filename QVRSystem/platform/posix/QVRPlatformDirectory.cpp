#include "QVRSystem/platform/QVRPlatformDirectory.h"
