// Every public header of the library.
#pragma once

#include "QVROSPath.h"
#include "QVRSysFastMutexLock.h"
#include "QVRSysITimedMutexLock.h"
#include "QVRSysThreadId.h"
#include "QVRSysTimedMutexLock.h"
#include "QVRSystemExport.h"
#include "QVRThreadAnnotations.h"
#include "QVRTypes.h"
