// What is to be made exists already.
#pragma once

#include "QVRERuntimeError.h"

/// What is to be made exists already.
class QVRSYSTEM_API QVREAlreadyExists : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVREAlreadyExists);
};
