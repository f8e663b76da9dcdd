// An object is of another type than the operation needs.
#pragma once

#include "QVRERuntimeError.h"

/// An object is of another type than the operation needs.
class QVRSYSTEM_API QVREBadType : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVREBadType);
};
