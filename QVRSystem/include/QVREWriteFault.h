// Writing to a device or file failed.
#pragma once

#include "QVRERuntimeError.h"

/// Writing to a device or file failed.
class QVRSYSTEM_API QVREWriteFault : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVREWriteFault);
};
