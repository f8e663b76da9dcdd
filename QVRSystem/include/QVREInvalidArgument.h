// An argument has a value that the operation does not accept.
#pragma once

#include "QVRELogicError.h"

/// An argument has a value that the operation does not accept.
class QVRSYSTEM_API QVREInvalidArgument : public QVRELogicError {
  QVR_ERROR_OPERATIONS(QVREInvalidArgument);
};
