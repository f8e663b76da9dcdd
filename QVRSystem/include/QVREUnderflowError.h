// A result is too small for its type.
#pragma once

#include "QVRERuntimeError.h"

/// A result is too small for its type.
class QVRSYSTEM_API QVREUnderflowError : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVREUnderflowError);
};
