// A device has no room left.
#pragma once

#include "QVRERuntimeError.h"

/// A device has no room left.
class QVRSYSTEM_API QVREDiskFull : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVREDiskFull);
};
