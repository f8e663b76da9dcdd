// A text or data does not have the form that is read.
#pragma once

#include "QVRERuntimeError.h"

/// A text or data does not have the form that is read.
class QVRSYSTEM_API QVREInvalidFormat : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVREInvalidFormat);
};
