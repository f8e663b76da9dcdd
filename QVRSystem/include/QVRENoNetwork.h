// There is no network to work over.
#pragma once

#include "QVRERuntimeError.h"

/// There is no network to work over.
class QVRSYSTEM_API QVRENoNetwork : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVRENoNetwork);
};
