// An argument lies outside the values for which an operation is defined.
#pragma once

#include "QVRELogicError.h"

/// An argument lies outside the values for which an operation is defined.
class QVRSYSTEM_API QVREDomainError : public QVRELogicError {
  QVR_ERROR_OPERATIONS(QVREDomainError);
};
