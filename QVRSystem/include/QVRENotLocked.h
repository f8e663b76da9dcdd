// A lock that should be held is free.
#pragma once

#include "QVRERuntimeError.h"

/// A lock that should be held is free.
class QVRSYSTEM_API QVRENotLocked : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVRENotLocked);
};
