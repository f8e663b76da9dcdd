// A lock could not be taken or given back.
#pragma once

#include "QVRERuntimeError.h"

/// A lock could not be taken or given back.
class QVRSYSTEM_API QVRELockFailed : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVRELockFailed);
};
