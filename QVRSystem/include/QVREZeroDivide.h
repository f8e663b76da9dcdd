// A division by zero was asked for.
#pragma once

#include "QVRERuntimeError.h"

/// A division by zero was asked for.
class QVRSYSTEM_API QVREZeroDivide : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVREZeroDivide);
};
