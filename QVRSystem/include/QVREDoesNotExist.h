// What the operation acts on does not exist.
#pragma once

#include "QVRERuntimeError.h"

/// What the operation acts on does not exist.
class QVRSYSTEM_API QVREDoesNotExist : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVREDoesNotExist);
};
