// What all stopwatches of the process share.
#pragma once

#include "QVRStopwatch.h"

struct StopwatchStatics : QVRStopwatch {
  using QVRStopwatch::_Frequency;
  using QVRStopwatch::_UsingGetTickCount;
};
