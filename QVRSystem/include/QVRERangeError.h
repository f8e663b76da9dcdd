// A result lies outside the range of its type.
#pragma once

#include "QVRERuntimeError.h"

/// A result lies outside the range of its type.
class QVRSYSTEM_API QVRERangeError : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVRERangeError);
};
