// An entry is registered a second time.
#pragma once

#include "QVRERuntimeError.h"

/// An entry is registered a second time.
class QVRSYSTEM_API QVREAlreadyRegistered : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVREAlreadyRegistered);
};
