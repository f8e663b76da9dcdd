// A name is not formed as names of its kind are.
#pragma once

#include "QVRERuntimeError.h"

/// A name is not formed as names of its kind are.
class QVRSYSTEM_API QVREInvalidName : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVREInvalidName);
};
