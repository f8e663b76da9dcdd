// A lock is not, or no longer, one that can be used.
#pragma once

#include "QVRERuntimeError.h"

/// A lock is not, or no longer, one that can be used.
class QVRSYSTEM_API QVREInvalidLock : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVREInvalidLock);
};
