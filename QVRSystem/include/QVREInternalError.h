// The library or its platform is in a state that it should never be in.
#pragma once

#include "QVRERuntimeError.h"

/// The library or its platform is in a state that it should never be in.
class QVRSYSTEM_API QVREInternalError : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVREInternalError);
};
