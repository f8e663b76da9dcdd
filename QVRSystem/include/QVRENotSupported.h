// The platform or the object does not offer the operation.
#pragma once

#include "QVRERuntimeError.h"

/// The platform or the object does not offer the operation.
class QVRSYSTEM_API QVRENotSupported : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVRENotSupported);
};
