// Data was touched against the rules of the lock that guards it.
#pragma once

#include "QVRERuntimeError.h"

/// Data was touched against the rules of the lock that guards it.
class QVRSYSTEM_API QVRELockViolation : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVRELockViolation);
};
