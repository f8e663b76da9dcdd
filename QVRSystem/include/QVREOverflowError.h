// A result is too large for its type.
#pragma once

#include "QVRERuntimeError.h"

/// A result is too large for its type.
class QVRSYSTEM_API QVREOverflowError : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVREOverflowError);
};
