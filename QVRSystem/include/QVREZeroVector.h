// A vector without length was given where a direction is needed.
#pragma once

#include "QVRERuntimeError.h"

/// A vector without length was given where a direction is needed.
class QVRSYSTEM_API QVREZeroVector : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVREZeroVector);
};
