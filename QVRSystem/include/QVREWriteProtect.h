// A device or file cannot be written to.
#pragma once

#include "QVRERuntimeError.h"

/// A device or file cannot be written to.
class QVRSYSTEM_API QVREWriteProtect : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVREWriteProtect);
};
