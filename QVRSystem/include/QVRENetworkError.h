// An operation over the network failed.
#pragma once

#include "QVRERuntimeError.h"

/// An operation over the network failed.
class QVRSYSTEM_API QVRENetworkError : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVRENetworkError);
};
