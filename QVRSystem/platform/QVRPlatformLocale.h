#pragma once

#include "QVRSystem/platform/QVRPlatformNamespace.h"
