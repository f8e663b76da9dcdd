// The system does not let this user do that.
#pragma once

#include "QVRERuntimeError.h"

/// The system does not let this user do that.
class QVRSYSTEM_API QVREAccessDenied : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVREAccessDenied);
};
