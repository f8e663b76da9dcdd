#include "QVRSystem/platform/QVRPlatformLocale.h"
