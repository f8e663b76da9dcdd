// A null pointer or an empty handle was given where an object is needed.
#pragma once

#include "QVRELogicError.h"

/// A null pointer or an empty handle was given where an object is needed.
class QVRSYSTEM_API QVRENullPointer : public QVRELogicError {
  QVR_ERROR_OPERATIONS(QVRENullPointer);
};
