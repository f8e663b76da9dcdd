// An object or a resource could not be made.
#pragma once

#include "QVRERuntimeError.h"

/// An object or a resource could not be made.
class QVRSYSTEM_API QVRECannotCreate : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVRECannotCreate);
};
