// The operation has no implementation yet.
#pragma once

#include "QVRERuntimeError.h"

/// The operation has no implementation yet.
class QVRSYSTEM_API QVRENotImplemented : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVRENotImplemented);
};
