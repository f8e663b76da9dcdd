// An object is not of the class to which it was to be cast.
#pragma once

#include "QVRERuntimeError.h"

/// An object is not of the class to which it was to be cast.
class QVRSYSTEM_API QVREInvalidCast : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVREInvalidCast);
};
