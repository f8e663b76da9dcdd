// A matrix without an inverse was to be inverted.
#pragma once

#include "QVRERuntimeError.h"

/// A matrix without an inverse was to be inverted.
class QVRSYSTEM_API QVRESingularMatrix : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVRESingularMatrix);
};
