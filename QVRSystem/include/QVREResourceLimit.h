// The system refuses more of a limited resource.
#pragma once

#include "QVRERuntimeError.h"

/// The system refuses more of a limited resource.
class QVRSYSTEM_API QVREResourceLimit : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVREResourceLimit);
};
