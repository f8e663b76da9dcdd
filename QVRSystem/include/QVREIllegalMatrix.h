// A matrix does not have the form that the operation needs.
#pragma once

#include "QVRERuntimeError.h"

/// A matrix does not have the form that the operation needs.
class QVRSYSTEM_API QVREIllegalMatrix : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVREIllegalMatrix);
};
