// A lock is held, but not by the calling thread.
#pragma once

#include "QVRERuntimeError.h"

/// A lock is held, but not by the calling thread.
class QVRSYSTEM_API QVRENotOwner : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVRENotOwner);
};
