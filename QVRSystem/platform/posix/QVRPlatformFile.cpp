#include "QVRSystem/platform/QVRPlatformFile.h"
