// Every public header of the library.
#pragma once

#include "QVROSPath.h"
#include "QVRStopwatch.h"
#include "QVRSysDate.h"
#include "QVRSysDateTime.h"
#include "QVRSysFastMutexLock.h"
#include "QVRSysITimedMutexLock.h"
#include "QVRSysThreadId.h"
#include "QVRSysTime.h"
#include "QVRSysTimedMutexLock.h"
#include "QVRSystemExport.h"
#include "QVRThreadAnnotations.h"
#include "QVRTypes.h"
