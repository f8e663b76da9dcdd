// A length or size is past what an object can hold.
#pragma once

#include "QVRELogicError.h"

/// A length or size is past what an object can hold.
class QVRSYSTEM_API QVRELengthError : public QVRELogicError {
  QVR_ERROR_OPERATIONS(QVRELengthError);
};
