// A service is switched off at present.
#pragma once

#include "QVRERuntimeError.h"

/// A service is switched off at present.
class QVRSYSTEM_API QVREDisabled : public QVRERuntimeError {
  QVR_ERROR_OPERATIONS(QVREDisabled);
};
