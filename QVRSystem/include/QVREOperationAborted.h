// An operation was broken off from outside.
#pragma once

#include "QVRERuntimeError.h"

/// An operation was broken off from outside.
class QVRSYSTEM_API QVREOperationAborted : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVREOperationAborted);
};
