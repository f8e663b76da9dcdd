// A resource for one user at a time has one already.
#pragma once

#include "QVRERuntimeError.h"

/// A resource for one user at a time has one already.
class QVRSYSTEM_API QVREAlreadyInUse : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVREAlreadyInUse);
};
