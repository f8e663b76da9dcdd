// What callers of an operation do wrong.
#pragma once

#include "QVRException.h"

/// An error in the caller's logic, which could have been seen before the call.
class QVRSYSTEM_API QVRELogicError : public QVRException {
  QVR_ERROR_OPERATIONS(QVRELogicError);
};
