// Reading from a device or file failed.
#pragma once

#include "QVRERuntimeError.h"

/// Reading from a device or file failed.
class QVRSYSTEM_API QVREReadFault : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVREReadFault);
};
