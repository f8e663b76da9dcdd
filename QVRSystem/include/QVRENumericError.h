// A computation failed in a way that no other class names.
#pragma once

#include "QVRERuntimeError.h"

/// A computation failed in a way that no other class names.
class QVRSYSTEM_API QVRENumericError : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVRENumericError);
};
